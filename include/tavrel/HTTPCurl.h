#pragma once

#include <tavrel/PeerTrust.h>
#include <tavrel/tavrel_export.h>

#include <foundation/Errorable.h>
#include <foundation/Threadable.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScopedPointer>
#include <QString>

#include <curl/curl.h>

class HttpQueryParameters;
class QIODevice;

/**
 * HTTP and HTTPS client: one blocking request at a time, as a GET or as a multipart form post.
 *
 * A request returns true on success. Otherwise error() holds the reason: a value of Error, a CURLcode named
 * "curlCode" or a CURLFORMcode named "codeRet". A status of 600 and more fails without an error;
 * HTTPResponseCode() tells. Results stay until the next request starts; one that is refused before it starts
 * leaves them. Each request has a connection of its own, unless setKeepConnections(true) was called; cookies
 * persist in the file cookieFilePath(). Up to 30 redirections are followed, to HTTP and HTTPS only. Server certificates
 * are not verified unless setTrust() asks for it.
 *
 * Cancellation: tie the object to a Thread with Thread::addThreadableChild(); after requestInterruption() on
 * that thread, a request returns within 0.3 s with libcurl's CURLE_ABORTED_BY_CALLBACK.
 *
 * Slots: a slot of a signal runs within the request that emits it. A request that it starts on this object is
 * refused with REQUEST_IN_PROGRESS, clear() does nothing, and the outer request goes on. Do not destroy the
 * object there; use deleteLater().
 *
 * Threads: an object is used by one thread at a time and emits its signals there. The cookie file is shared
 * by the whole process without a lock; the last request that ends writes it.
 */
class TAVREL_EXPORT HTTPCurl : public Threadable, public Errorable
{
    Q_OBJECT

public:
    /// The numbers are part of the interface.
    enum Error {
        EMPTY_URL = 0, ///< a request was started with an empty URL
        CURL_INIT_PROBLEM = 1, ///< libcurl gave no handle
        GET_CANT_WRITE_DEVICE = 2, ///< the device or file of a GET could not be opened
        NOT_FOUND_4XX = 3, ///< the server answered with a status of 400 to 499
        SERVER_ERROR_5XX = 4, ///< the server answered with a status of 500 to 599
        DOWNLOAD_LIMIT_REACHED = 5, ///< the announced size exceeds the limit
        REQUEST_IN_PROGRESS = 6, ///< a slot started a request while the object is running another request
        BAD_PARAMETER = 7, ///< a setter refused its argument, or an encrypted post its file
    };

    /// Stands between the text part and the binary part of a binary response.
    static const QByteArray SEPARATOR_BINARY;
    /// The form field that asks the server for a binary response.
    static const QString HTTPCURL_KEY_BOOL_RESULT_AS_BINARY;
    /// The folder of the cookie file; the current one at first. See setCookiepath().
    static QString COOKIEPATH;

    /// Only logs a warning when libcurl is not initialized; see TavrelInitializer.
    explicit HTTPCurl(QObject* parent = nullptr);
    ~HTTPCurl() override;

    /// Fetches url into data, which is emptied first and holds what arrived when the request fails.
    bool getData(const QString& url, QByteArray& data);
    /// Fetches url into a file, which is created or truncated and keeps what arrived when the request fails.
    /// FileDownloader puts a file in place only when it is complete.
    bool getFile(const QString& url, const QString& path);
    /// Fetches url into a file, and continues there when the file is what an earlier call left of the same URL. The
    /// record "<path>.info" tells: it holds a hash of the URL without user and password, and the ETag or Last-Modified
    /// of the file, and is removed on success. If the server's file has changed, or the server sends no strong
    /// validator or no ranges, the download starts anew. Progress and the download limit count the whole file. Neither
    /// file is opened if it is a link or belongs to another user: the request fails with GET_CANT_WRITE_DEVICE, or the
    /// download cannot be continued.
    bool resumeFile(const QString& url, const QString& path);
    /// Fetches url into a device that is not open yet; it is opened write-only and closed again. A QSaveFile
    /// is left open, for its owner to commit or cancel.
    bool getDataRaw(const QString& url, QIODevice& device);
    /// Fetches url and drops the body. The second argument is not used.
    bool testURLResponse(const QString& url, QString* = nullptr);

    /// Posts parameters as form fields, as they are: a multipart form needs no percent-encoding. Keys end at
    /// their first NUL, values may hold any.
    bool postHttp(const QString& url, const HttpQueryParameters& parameters);
    /// Posts json in the form field "data_json".
    bool postForm(const QString& url, const QJsonObject& json);
    /// Posts json and, when fileData is not empty, a file in the field "sendfile". Its name is the member
    /// "#file_name#" of json, else "uploadedFile". With binary, the reply is split into response() and
    /// binaryResponse().
    bool postForm(const QString& url, const QJsonObject& json, const QByteArray& fileData, bool binary);
    /// Posts a form made with curl_formadd, and frees it on every path.
    bool postFormRaw(curl_httppost* form, const QString& url);
    /// Adds the fields of postForm() to a form, except the file. The first argument is not used.
    bool fillFormStruct(const QString&, curl_httppost*& first, curl_httppost*& last, const QString& json);
    /// Splits response() at the first SEPARATOR_BINARY; without one, changes nothing.
    void formatBinaryResponse();

    /// The body of the last post, without its binary part.
    const QByteArray& response() const;
    const QByteArray& binaryResponse() const; ///< The binary part of the last post; see formatBinaryResponse().
    /// The HTTP status of the last request; 0 when no answer came.
    long HTTPResponseCode() const;
    /// Libcurl's detailed reason for the failure of the last request, such as "Failed to connect to 127.0.0.1 port 1
    /// after 0 ms"; errorText() when libcurl gave none or its text holds the user or password of the URL; empty after a
    /// success.
    QString errorDetail() const;
    /// True while the last form post asked for a binary response.
    bool isBinaryMode() const;
    /// The object given to the last form post, before it was processed.
    QJsonDocument lastJsonSent() const;
    /// True when the last request ended at another URL. The comparison ignores letter case and one trailing
    /// slash; libcurl's normalization ("http://host?q" becomes "http://host/?q") counts as a redirection.
    bool wasRedirected() const;
    /// That URL; empty without a redirection.
    QString redirectedURL() const;
    /// Empties the responses, the status and the error.
    void clear();

    /// Bounds a whole request, in seconds; 0 and less means no bound.
    void setTimeOut(int seconds);
    /// Ends a request with libcurl's CURLE_OPERATION_TIMEDOUT when no byte moves in either direction for this long, in
    /// every phase after the connection is established: TLS handshake, sending, waiting for the answer, receiving. In
    /// seconds; 0, the default, means no bound. A negative value is refused: false, with BAD_PARAMETER.
    bool setStallTimeOut(int seconds);
    /// Refuses bodies whose Content-Length exceeds this, in bytes, bodies of redirections and error pages included; 0
    /// and less means no limit. A GET then fails with DOWNLOAD_LIMIT_REACHED, a post with libcurl's
    /// CURLE_ABORTED_BY_CALLBACK. A body without a Content-Length is never cut short.
    void setLimitDownload(qint64 bytes);
    /// Keeps the connections of a successful request open for the next ones of this object, which then need no new TCP
    /// and TLS handshake. Off by default. Cookies and results are the same either way. A failed or interrupted request
    /// closes the connections; so do setTrust(), false and the destructor, which must then run before the
    /// destructor of TavrelInitializer. When the server closes a kept connection without a byte of answer, the request
    /// is sent again on a new one.
    void setKeepConnections(bool on);
    /// Replaces the default user agent, which names a desktop browser; an empty text restores it.
    void setUserAgent(const QString& agent);
    /// Appended to the user agent, after a blank.
    void setUserAgentExtension(const QString& extension);

    /// Which servers the next requests accept; anyone by default. With any other trust only HTTPS is spoken, also after
    /// a redirection: other URLs fail with CURLE_UNSUPPORTED_PROTOCOL. A trust that is not valid or has nothing for TLS
    /// is refused with BAD_PARAMETER, by every request until a valid trust is set, too.
    bool setTrust(const PeerTrust& trust);

    /// Sets the folder of the cookie file and creates it. Process-wide; call it before clients run.
    static void setCookiepath(const QString& dir);
    /// COOKIEPATH and "/eikooc.txt". A new file is readable by its owner alone. One that is a link or belongs to
    /// another user is neither read nor written: each request logs that, and forgets its cookies.
    static QString cookieFilePath();
    /// Removes the cookie file; false when there was none to remove.
    static bool clearLocalSessionCookie();

    /// True for a text that starts with "http://" or "https://", in any letter case.
    static bool isDistantUrl(const QString& url);
    /// The URL without one trailing slash; texts of fewer than 7 characters stay as they are.
    static QString cleanUrl(const QString& url);
    /// False, with EMPTY_URL, for an empty URL. Nothing else is checked here.
    bool checkUrl(const QString& url);
    /// Compares where a finished transfer ended with the URL that was asked for.
    void checkRedirection(CURL* handle, const QString& requestedUrl);

Q_SIGNALS:
    /// Percent of the download, 0 to 100; emitted very often while its size is known, and with 0 when a request starts
    /// and when it is interrupted.
    void progress(double percent);
    /// Percent of the upload, 0 to 100; emitted very often, and with 0 when a request is interrupted.
    void progressUpload(double percent);

protected:
    /// Changes outgoing form data in place and returns it. base64 tells that the result must be text (the
    /// JSON field), not any bytes (the file). This version changes nothing.
    virtual QByteArray& preProcess(QByteArray& data, bool base64);
    /// Changes the body of a successful post in place; false, with an error raised, makes the post fail. This
    /// version changes nothing.
    virtual bool postProcess(QByteArray& response);

    /// False, with REQUEST_IN_PROGRESS, within a request.
    bool checkIdle();
    /// Makes a handle for a request of url. False with EMPTY_URL, CURL_INIT_PROBLEM or BAD_PARAMETER for the trust.
    bool curlInit(CURL*& handle, const QString& url);
    /// Sets the options that all requests share. The list is handed over to libcurl and not freed.
    void setCurlGETAndPOSTCommonConfig(CURL* handle, curl_slist* headerList);
    /// Raises the error of a failed transfer: NOT_FOUND_4XX or SERVER_ERROR_5XX by status, else code itself.
    void handleCurlErrorCode(CURLcode code);
    /// Raises DOWNLOAD_LIMIT_REACHED; limit in bytes.
    void raiseErrorDownloadLimit(qint64 limit);

    /// Callbacks of libcurl. They append to response(), write to a QIODevice, drop the bytes, and report progress.
    ///@{
    static size_t writeResponse(char* ptr, size_t size, size_t count, void* client);
    static size_t write_data(char* ptr, size_t size, size_t count, void* device);
    static size_t my_dummy_write(char* ptr, size_t size, size_t count, void* unused);
    static int progressCallback(void* client, double dltotal, double dlnow, double ultotal, double ulnow);
    ///@}

private:
    struct State;

    bool checkTrust();
    void setResult(CURLcode code);
    void resetResults();
    CURLcode performRequest(CURL* handle, const QString& url);
    bool performPost(curl_httppost* form, const QString& url, bool sendsInPlace);
    bool splitResponse();
    void signalInterruption();
    bool checkFormAdded(CURLFORMcode code, int line);

    const QScopedPointer<State> mState;
};
