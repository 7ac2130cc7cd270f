<?php
declare(strict_types=1);

require __DIR__ . '/SecuredService.php';
require __DIR__ . '/application.php';

(new SecuredService(require __DIR__ . '/config.php', 'application'))->answer();
