<?php
declare(strict_types=1);

// Warnings name files. They go to the log, not into replies.
ini_set('display_errors', '0');

require __DIR__ . '/Refusal.php';
require __DIR__ . '/SecuredService.php';
require __DIR__ . '/application.php';

(new SecuredService(require __DIR__ . '/config.php', 'application'))->answer();
