<?php
declare(strict_types=1);

/**
 * Where your own work goes. This one tells what it was sent.
 *
 * @param array      $request the JSON object of the client
 * @param array|null $file    the attached file: 'name' and 'content'
 * @return array a JSON object to reply, or [object, binary data]
 */
function application(array $request, ?array $file): array
{
    $reply = ['received' => $request];
    if ($file !== null) {
        $reply['file'] = [
            'name' => $file['name'],
            'size' => strlen($file['content']),
            'sha256' => hash('sha256', $file['content']),
        ];
    }
    return [$reply, "\x00\x01binary\xff"];
}
