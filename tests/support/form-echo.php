<?php
// Tells as JSON what a form post brought, and keeps the uploaded files in the folder RECEIVED.
$files = [];
foreach ($_FILES as $field => $file) {
    $files[$field] = ['name' => $file['name'], 'size' => $file['size'], 'error' => $file['error']];
    if ($file['error'] === UPLOAD_ERR_OK) {
        $files[$field]['sha256'] = hash_file('sha256', $file['tmp_name']);
        move_uploaded_file($file['tmp_name'], getenv('RECEIVED') . '/' . basename($field));
    }
}
header('Content-Type: application/json');
$reply = ['form' => (object) $_POST, 'files' => (object) $files];
echo json_encode($reply, JSON_UNESCAPED_SLASHES | JSON_UNESCAPED_UNICODE), "\n";
if (isset($_POST['part_result_as_binary'])) {
    echo '##SEPARATOR##', "\x00\x01binary\xff";
}
