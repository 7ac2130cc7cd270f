<?php
declare(strict_types=1);

/**
 * The other side of SecuredHTTPCurl: answers the handshake, decrypts requests, encrypts replies.
 *
 * The application is a function. It is called with the request, decoded from JSON, and the attached file or null, and
 * returns what to reply: an array, which becomes JSON, or a pair of an array and binary data. The client reads the
 * message of a Refusal that it throws; anything else that is thrown is logged.
 */
final class SecuredService
{
    private const MARKER = '###';
    private const HEADER_BYTES = 7;
    private const NONCE_BYTES = 12;
    private const TAG_BYTES = 16;
    private const KEY_BYTES = 16;
    private const SEPARATOR = '##SEPARATOR##';

    private array $config;
    /** @var callable(array, ?array): array */
    private $application;

    public function __construct(array $config, callable $application)
    {
        $this->config = $config;
        $this->application = $application;
    }

    /** Answers the request that PHP has parsed. */
    public function answer(): void
    {
        session_start();
        try {
            $this->answerForm();
        } catch (Refusal $refusal) {
            $this->replyInPlaintext(false, ['error_message' => $refusal->getMessage()]);
        } catch (Throwable $failure) {
            error_log((string) $failure);
            $this->replyInPlaintext(false, ['error_message' => 'the service failed; see its log']);
        }
    }

    private function answerForm(): void
    {
        if (!isset($_POST['data_json'])) {
            // PHP drops a form that is larger than its limits as a whole.
            $this->replyInPlaintext(false, ['error_message' => 'no form arrived; see upload_max_filesize, post_max_size']);
            return;
        }
        $text = (string) $_POST['data_json'];
        $clear = $text !== '' && $text[0] === '{' ? json_decode($text, true) : null;
        if (is_array($clear) && isset($clear['handshake'])) {
            $this->answerHandshake($clear);
        } elseif (is_array($clear) && $this->config['allow_plain']) {
            $this->answerPlain($clear);
        } else {
            $this->answerCiphered($text);
        }
    }

    private function answerHandshake(array $request): void
    {
        if ($request['handshake'] === 'get_pubkey') {
            $details = openssl_pkey_get_details($this->privateKey());
            $this->replyInPlaintext(true, ['pubkey' => $details['key']]);
            return;
        }
        if ($request['handshake'] !== 'sharea_aeskey') {
            $this->replyInPlaintext(false, 'unknown handshake');
            return;
        }
        $wrapped = base64_decode((string) ($request['aes_key'] ?? ''), true);
        $isUnwrapped = $wrapped !== false
            && openssl_private_decrypt($wrapped, $keyText, $this->privateKey(), OPENSSL_PKCS1_OAEP_PADDING);
        $key = $isUnwrapped ? base64_decode($keyText, true) : false;
        $test = base64_decode((string) ($request['aes_test'] ?? ''), true);
        $res = $key !== false && $test !== false ? self::open($test, $key) : null;
        if ($res === null) {
            $this->replyInPlaintext(false, 'the key could not be read');
            return;
        }
        session_regenerate_id(true);
        $_SESSION['aes_key'] = $key;
        error_log('handshake: a key is shared');
        $this->replyInPlaintext(true, ['res' => $res]);
    }

    private function answerPlain(array $request): void
    {
        [$json, $binary] = $this->work($request, $this->upload(null));
        echo self::join($json, $binary);
    }

    private function answerCiphered(string $text): void
    {
        $key = $_SESSION['aes_key'] ?? null;
        if ($key === null) {
            $this->replyInPlaintext(false, ['error_message' => '#NO_SESSION#']);
            return;
        }
        $cipher = base64_decode($text, true);
        $request = $cipher === false ? null : json_decode((string) self::open($cipher, $key), true);
        if (!is_array($request)) {
            $this->replyInPlaintext(false, ['error_message' => 'the request could not be decrypted']);
            return;
        }
        [$json, $binary] = $this->work($request, $this->upload($key));
        if ($this->config['allow_forget'] && !empty($request['forget_session'])) {
            session_destroy();
        }
        header('Content-Type: application/octet-stream');
        echo self::seal(self::join($json, $binary), $key);
    }

    /** Calls the application; the result is always a pair of JSON data and binary data. */
    private function work(array $request, ?array $file): array
    {
        $reply = ($this->application)($request, $file);
        $isPair = array_keys($reply) === [0, 1] && is_string($reply[1]);
        return $isPair ? $reply : [$reply, ''];
    }

    /** The attached file as its name and content, decrypted if there is a key; null without one. */
    private function upload(?string $key): ?array
    {
        if (!isset($_FILES['sendfile'])) {
            return null;
        }
        $file = $_FILES['sendfile'];
        if ($file['error'] !== UPLOAD_ERR_OK) {
            throw new Refusal('the file did not arrive; see upload_max_filesize');
        }
        $content = file_get_contents($file['tmp_name']);
        if ($key !== null) {
            $content = self::open($content, $key);
        }
        if ($content === null) {
            throw new Refusal('the file could not be decrypted');
        }
        return ['name' => $file['name'], 'content' => $content];
    }

    private static function join(array $json, string $binary): string
    {
        $text = json_encode((object) $json, JSON_UNESCAPED_SLASHES | JSON_UNESCAPED_UNICODE | JSON_THROW_ON_ERROR);
        return isset($_POST['part_result_as_binary']) ? $text . self::SEPARATOR . $binary : $text;
    }

    /** @param array|string $data */
    private function replyInPlaintext(bool $success, $data): void
    {
        header('Content-Type: application/json');
        $flags = JSON_UNESCAPED_SLASHES | JSON_INVALID_UTF8_SUBSTITUTE; // Messages may quote any bytes.
        echo json_encode(['success' => $success, 'data' => $data], $flags), "\n";
    }

    /** The cipher of a payload. The nonce is given in tests only: one that is used twice breaks the cipher. */
    public static function seal(string $payload, string $key, ?string $nonce = null): string
    {
        $nonce = $nonce ?? random_bytes(self::NONCE_BYTES);
        $envelope = self::MARKER . pack('V', strlen($payload)) . $payload;
        $cipher = openssl_encrypt($envelope, 'aes-128-gcm', $key, OPENSSL_RAW_DATA, $nonce, $tag);
        return $nonce . $cipher . $tag;
    }

    /** The payload of a cipher; null when it is none, or one of another key. */
    public static function open(string $cipher, string $key): ?string
    {
        $size = strlen($cipher) - self::NONCE_BYTES - self::TAG_BYTES;
        if (strlen($key) !== self::KEY_BYTES || $size < self::HEADER_BYTES) {
            return null;
        }
        $envelope = openssl_decrypt(
            substr($cipher, self::NONCE_BYTES, $size),
            'aes-128-gcm',
            $key,
            OPENSSL_RAW_DATA,
            substr($cipher, 0, self::NONCE_BYTES),
            substr($cipher, -self::TAG_BYTES)
        );
        if ($envelope === false || strncmp($envelope, self::MARKER, strlen(self::MARKER)) !== 0) {
            return null;
        }
        $length = unpack('V', $envelope, strlen(self::MARKER))[1];
        return $length <= $size - self::HEADER_BYTES ? substr($envelope, self::HEADER_BYTES, $length) : null;
    }

    private function privateKey(): OpenSSLAsymmetricKey
    {
        $path = $this->config['private_key'];
        if (!file_exists($path)) {
            $this->makePrivateKey($path);
        }
        $key = openssl_pkey_get_private($this->readOwn($path));
        if ($key === false) {
            throw new RuntimeException("$path holds no private key");
        }
        return $key;
    }

    /** Another user may have put a file there, as in the folder of temporary files. */
    private function readOwn(string $path): string
    {
        $file = fopen($path, 'rb');
        if ($file === false) {
            throw new RuntimeException("$path cannot be read");
        }
        $isSafe = !function_exists('posix_geteuid') || in_array(fstat($file)['uid'], [0, posix_geteuid()], true);
        $content = $isSafe ? stream_get_contents($file) : '';
        fclose($file);
        if (!$isSafe) {
            throw new RuntimeException("$path belongs to another user");
        }
        return (string) $content;
    }

    private function makePrivateKey(string $path): void
    {
        $pair = openssl_pkey_new(['private_key_bits' => 2048, 'private_key_type' => OPENSSL_KEYTYPE_RSA]);
        openssl_pkey_export($pair, $pem);
        $mask = umask(0077);
        $draft = tempnam(dirname($path), 'key');
        file_put_contents($draft, $pem);
        @link($draft, $path); // Of two workers that get here, the first wins.
        unlink($draft);
        umask($mask);
    }
}
