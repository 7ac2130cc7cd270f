<?php
// The settings of the service, from the environment.
return [
    // The RSA key, in PEM. Made at the first request; keep it away from what the web server serves.
    'private_key' => getenv('SECURED_SERVICE_KEY') ?: sys_get_temp_dir() . '/secured-service.pem',
    // Answer requests in plaintext as well, for tests.
    'allow_plain' => getenv('SECURED_SERVICE_ALLOW_PLAIN') === '1',
    // Let a request with "forget_session" end its session, to show how a client recovers.
    'allow_forget' => getenv('SECURED_SERVICE_ALLOW_FORGET') === '1',
];
