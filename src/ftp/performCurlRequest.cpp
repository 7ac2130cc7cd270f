// The progress callback is the older one of two, which newer versions of libcurl mark as deprecated.
#define CURL_DISABLE_DEPRECATION

#include <tavrel/FTPCurl.h>

#include <transfer/TransferLoop.h>

#include <QIODevice>

#include <new>

namespace {

constexpr int PROGRESS_EVERY_MS = 70;
constexpr int DAY_MS = 24 * 60 * 60 * 1000;
constexpr int ABORT_TRANSFER = 1;
constexpr size_t ABORT_HEADER = static_cast<size_t>(-1);
// libcurl's own, for files and directories whose mode is left to the server.
constexpr long DEFAULT_FILE_MODE = 0644;
constexpr long DEFAULT_DIRECTORY_MODE = 0755;

const QString PASSWORD_PLACEHOLDER = QStringLiteral("ORBALUMENTA_PASSWORD");

/// The password is put into the encoded text: QUrl leaves characters in it that libcurl's parser trips over.
QByteArray encodedUrl(QUrl url)
{
    const QByteArray password = QUrl::toPercentEncoding(url.password(QUrl::FullyDecoded));
    url.setPassword(PASSWORD_PLACEHOLDER);
    QByteArray text = url.toEncoded();
    // libcurl would take ";type=a" at the end of a name for a wish of the transfer, and leave it out of the name.
    text.replace(';', "%3B");
    return text.replace(PASSWORD_PLACEHOLDER.toUtf8(), password);
}

bool isKind(int type)
{
    return type >= VFSCurlData::Plain && type <= VFSCurlData::Command;
}

bool hasBody(int type)
{
    return type == VFSCurlData::Download || type == VFSCurlData::Upload || type == VFSCurlData::Listing;
}

void setRequestOptions(CURL* easy, VFSCurlData& data)
{
    const bool uploads = data.type == VFSCurlData::Upload;
    const bool downloads = hasBody(data.type) && !uploads;
    const bool isBodyless = !hasBody(data.type);
    curl_easy_setopt(easy, CURLOPT_URL, encodedUrl(data.url).constData());
    curl_easy_setopt(easy, CURLOPT_UPLOAD, uploads ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_PROGRESSDATA, &data);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, downloads ? &data : nullptr);
    curl_easy_setopt(easy, CURLOPT_READDATA, uploads ? &data : nullptr);
    const qint64 size = uploads && data.device ? data.device->size() : -1;
    curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(size));
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &data);
    curl_easy_setopt(easy, CURLOPT_NOBODY, isBodyless ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_FILETIME, data.type == VFSCurlData::ExistenceTest ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_HEADER, isBodyless ? 0L : 1L);
}

void setSftpOptions(CURL* easy, const VFSCurlData& data)
{
    const int fileMode = data.owner->filePermissions();
    const int folderMode = data.owner->folderPermissions();
    // Deliberate: a download carries the mode of new directories, a listing does not.
    const bool mayCreateDirectory = data.type == VFSCurlData::Command || data.type == VFSCurlData::Download;
    if (data.type == VFSCurlData::Upload && fileMode != -1) {
        curl_easy_setopt(easy, CURLOPT_NEW_FILE_PERMS, static_cast<long>(fileMode));
    }
    if (mayCreateDirectory && folderMode != -1) {
        curl_easy_setopt(easy, CURLOPT_NEW_DIRECTORY_PERMS, static_cast<long>(folderMode));
    }
    if (data.type == VFSCurlData::ExistenceTest && data.url.path().endsWith(QLatin1Char('/'))) {
        // Over SFTP only a listing tells whether a directory exists.
        curl_easy_setopt(easy, CURLOPT_NOBODY, 0L);
    }
}

/// Nothing on the handle points to the request or belongs to it alone when it is over.
void clearRequestOptions(CURL* easy)
{
    curl_easy_setopt(easy, CURLOPT_PROGRESSDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_READDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_NEW_FILE_PERMS, DEFAULT_FILE_MODE);
    curl_easy_setopt(easy, CURLOPT_NEW_DIRECTORY_PERMS, DEFAULT_DIRECTORY_MODE);
}

/// Whether the server has answered all that it was asked, so that its next reply belongs to the next command.
bool isConversationInOrder(CURLcode code)
{
    switch (code) {
    case CURLE_OK:
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_FTP_COULDNT_RETR_FILE:
    case CURLE_QUOTE_ERROR:
    case CURLE_UPLOAD_FAILED:
    case CURLE_REMOTE_FILE_EXISTS:
    case CURLE_REMOTE_FILE_NOT_FOUND:
        return true;
    default:
        return false;
    }
}

bool isOpenFor(QIODevice* device, QIODevice::OpenMode mode)
{
    return device && (device->isOpen() || device->open(mode));
}

int elapsedSince(const QTime& start)
{
    const int elapsed = start.msecsTo(QTime::currentTime());
    return elapsed < 0 ? elapsed + DAY_MS : elapsed;
}

bool isZero(double number)
{
    return qFuzzyCompare(number + 1.0, 1.0);
}

} // namespace

int performCurlRequest(VFSCurlData& data)
{
    FTPCurl* const owner = data.owner;
    if (!owner || !owner->mHandle || !isKind(data.type)) {
        return -1;
    }
    CURL* const easy = owner->mHandle;
    setRequestOptions(easy, data);
    if (owner->ftpSettings().ftpProtocol() == FTPSettings::SFTP) {
        setSftpOptions(easy, data);
    }
    CURLcode code = owner->runInterruptibly();
    clearRequestOptions(easy);
    if (code != CURLE_OK && owner->isInterruptionRequested()) {
        code = CURLE_ABORTED_BY_CALLBACK; // whatever it was that failed first
    }
    if (!isConversationInOrder(code)) {
        owner->mLoop = std::make_unique<TransferLoop>();
    }
    return code;
}

CURLcode FTPCurl::runInterruptibly()
{
    TransferLoop& loop = *mLoop;
    const Interruption::WakeUp wakeUp(interruption(), [&loop] { loop.hangUp(); });
    return isInterruptionRequested() ? CURLE_ABORTED_BY_CALLBACK : loop.perform(mHandle);
}

size_t FTPCurl::header(void* ptr, size_t size, size_t nmemb, void* data)
{
    const size_t bytes = size * nmemb;
    if (!data) {
        return bytes;
    }
    FTPCurl& owner = *static_cast<VFSCurlData*>(data)->owner;
    Q_EMIT owner.infoServer(QString::fromUtf8(static_cast<const char*>(ptr), static_cast<int>(bytes)).trimmed());
    return owner.isInterruptionRequested() ? ABORT_HEADER : bytes;
}

size_t FTPCurl::fread(void* ptr, size_t size, size_t nmemb, void* data)
{
    const size_t bytes = size * nmemb;
    if (!data) {
        return bytes;
    }
    const VFSCurlData& request = *static_cast<VFSCurlData*>(data);
    if (!isOpenFor(request.device, QIODevice::ReadOnly)) {
        return CURL_READFUNC_ABORT;
    }
    const qint64 count = request.device->read(static_cast<char*>(ptr), static_cast<qint64>(bytes));
    // A device that cannot be read gives -1, which libcurl reports as a read error.
    return request.owner->isInterruptionRequested() ? CURL_READFUNC_ABORT : static_cast<size_t>(count);
}

size_t FTPCurl::fwrite(void* ptr, size_t size, size_t nmemb, void* data)
{
    const size_t bytes = size * nmemb;
    if (!data) {
        return bytes;
    }
    const VFSCurlData& request = *static_cast<VFSCurlData*>(data);
    try {
        if (!isOpenFor(request.device, QIODevice::WriteOnly)) {
            return 0;
        }
        const qint64 count = request.device->write(static_cast<const char*>(ptr), static_cast<qint64>(bytes));
        return request.owner->isInterruptionRequested() ? 0 : static_cast<size_t>(count);
    } catch (const std::bad_alloc&) {
        return 0; // libcurl is C: nothing may be thrown through it.
    }
}

bool FTPCurl::isProgressDue(const QTime& last)
{
    // libcurl asks thousands of times a second, and to tell the time of day the system looks at the time zone's file.
    if (last == mLastProgress && std::chrono::steady_clock::now() < mNextProgress) {
        return false;
    }
    const int elapsed = elapsedSince(last);
    setProgressStart(last, elapsed);
    return elapsed >= PROGRESS_EVERY_MS;
}

void FTPCurl::setProgressStart(const QTime& last, int elapsedMs)
{
    mLastProgress = last;
    mNextProgress = std::chrono::steady_clock::now() + std::chrono::milliseconds(PROGRESS_EVERY_MS - elapsedMs);
}

int FTPCurl::progress(void* data, double /*dltotal*/, double /*dlnow*/, double ultotal, double ulnow)
{
    if (!data) {
        return 0;
    }
    VFSCurlData& request = *static_cast<VFSCurlData*>(data);
    FTPCurl& owner = *request.owner;
    if (owner.isProgressDue(request.lastProgress)) {
        if (!isZero(ultotal) && !isZero(ulnow)) {
            Q_EMIT owner.progressUpload(
                request.url.toString(), static_cast<qint64>(ulnow), static_cast<qint64>(ultotal));
        }
        request.lastProgress = QTime::currentTime();
    }
    return owner.isInterruptionRequested() ? ABORT_TRANSFER : 0;
}
