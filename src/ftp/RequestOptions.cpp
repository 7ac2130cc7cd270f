// The progress callback is the older one of two, which newer versions of libcurl mark as deprecated.
#define CURL_DISABLE_DEPRECATION

#include "RequestOptions.h"

#include <tavrel/FTPCurl.h>

#include <QIODevice>

namespace {

// libcurl's own, for files and directories whose mode is left to the server.
constexpr long DEFAULT_FILE_MODE = 0644;
constexpr long DEFAULT_DIRECTORY_MODE = 0755;

const QByteArray PASSWORD_PLACEHOLDER = "ORBALUMENTA_PASSWORD";
const QByteArray ESCAPED_PLACEHOLDER = "ORBALUMENTA%5FPASSWORD"; // which libcurl decodes

/// From where an upload starts to the end of its device.
curl_off_t remainingSize(const QIODevice& device)
{
    return qMax(device.size() - device.pos(), qint64 { 0 });
}

/// Fails for permissions that libcurl refuses.
CURLcode setSftpOptions(CURL* easy, const VFSCurlData& data)
{
    CURLcode code = CURLE_OK;
    const int fileMode = data.owner->filePermissions();
    const int folderMode = data.owner->folderPermissions();
    // Deliberate: a download carries the mode of new directories, a listing does not.
    const bool mayCreateDirectory = data.type == VFSCurlData::Command || data.type == VFSCurlData::Download;
    if (data.type == VFSCurlData::Upload && fileMode != -1) {
        code = curl_easy_setopt(easy, CURLOPT_NEW_FILE_PERMS, static_cast<long>(fileMode));
    }
    if (mayCreateDirectory && folderMode != -1) {
        code = curl_easy_setopt(easy, CURLOPT_NEW_DIRECTORY_PERMS, static_cast<long>(folderMode));
    }
    if (data.type == VFSCurlData::ExistenceTest && data.url.path().endsWith(QLatin1Char('/'))) {
        // Over SFTP only a listing tells whether a directory exists.
        curl_easy_setopt(easy, CURLOPT_NOBODY, 0L);
    }
    return code;
}

} // namespace

bool RequestOptions::isKind(int type)
{
    return type >= VFSCurlData::Plain && type <= VFSCurlData::Command;
}

bool RequestOptions::hasBody(int type)
{
    return type == VFSCurlData::Download || type == VFSCurlData::Upload || type == VFSCurlData::Listing;
}

/// The password is put into the encoded text: QUrl leaves characters in it that libcurl's parser misreads.
QByteArray RequestOptions::encodedUrl(QUrl url)
{
    const QByteArray password = QUrl::toPercentEncoding(url.password(QUrl::FullyDecoded));
    url.setPassword(QString::fromLatin1(PASSWORD_PLACEHOLDER));
    QByteArray text = url.toEncoded();
    // A user or path that holds the placeholder as well must not come to hold the password.
    text.replace(PASSWORD_PLACEHOLDER, ESCAPED_PLACEHOLDER);
    // Deliberate: libcurl would read ";type=a" at the end of a name as an option of the transfer and drop it from the
    // name.
    text.replace(';', "%3B");
    const auto place = text.indexOf(':' + ESCAPED_PLACEHOLDER + '@'); // QUrl escapes a colon in the user.
    return place < 0 ? text : text.replace(place + 1, ESCAPED_PLACEHOLDER.size(), password);
}

CURLcode RequestOptions::set(CURL* easy, VFSCurlData& data)
{
    const bool uploads = data.type == VFSCurlData::Upload;
    const bool downloads = hasBody(data.type) && !uploads;
    const bool isBodyless = !hasBody(data.type);
    const bool asksForTime = data.type == VFSCurlData::ExistenceTest
        || (data.type == VFSCurlData::Download && data.owner->keepsModificationTime());
    curl_easy_setopt(easy, CURLOPT_UPLOAD, uploads ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_PROGRESSDATA, &data);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, downloads ? &data : nullptr);
    curl_easy_setopt(easy, CURLOPT_READDATA, uploads ? &data : nullptr);
    curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, uploads ? remainingSize(*data.device) : curl_off_t { -1 });
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &data);
    curl_easy_setopt(easy, CURLOPT_NOBODY, isBodyless ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_FILETIME, asksForTime ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_HEADER, isBodyless ? 0L : 1L);
    if (data.owner->ftpSettings().ftpProtocol() == FTPSettings::SFTP) {
        return setSftpOptions(easy, data);
    }
    return CURLE_OK;
}

void RequestOptions::clear(CURL* easy)
{
    curl_easy_setopt(easy, CURLOPT_PROGRESSDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_READDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_NEW_FILE_PERMS, DEFAULT_FILE_MODE);
    curl_easy_setopt(easy, CURLOPT_NEW_DIRECTORY_PERMS, DEFAULT_DIRECTORY_MODE);
}
