// The forms are built with libcurl's form API, which newer versions mark as deprecated.
#define CURL_DISABLE_DEPRECATION

#include "HTTPCurlState.h"
#include "HttpInternalQueryMemoryParameter.h"
#include "MimeForm.h"

#include <tavrel/HttpQueryParameters.h>

#include <transfer/EasyHandle.h>

#include <foundation/raiseError.h>

#include <QScopedValueRollback>

#include <new>
#include <vector>

namespace {

const QString FILE_NAME_KEY = QStringLiteral("#file_name#");
const QString DEFAULT_FILE_NAME = QStringLiteral("uploadedFile");

/// Frees a form.
struct FormOwner
{
    FormOwner() = default;
    FormOwner(const FormOwner&) = delete;
    FormOwner& operator=(const FormOwner&) = delete;
    ~FormOwner() { curl_formfree(first); }

    curl_httppost* first = nullptr;
    curl_httppost* last = nullptr;
};

CURLFORMcode addFile(FormOwner& form, const QString& fileName, const QByteArray& bytes)
{
    return curl_formadd(&form.first, &form.last, CURLFORM_COPYNAME, "sendfile", CURLFORM_BUFFER,
        fileName.toUtf8().constData(), CURLFORM_BUFFERPTR, bytes.constData(), CURLFORM_BUFFERLENGTH,
        static_cast<long>(bytes.size()), CURLFORM_END);
}

CURLFORMcode addField(curl_httppost*& first, curl_httppost*& last, const QByteArray& name, const QByteArray& content)
{
    return curl_formadd(&first, &last, CURLFORM_COPYNAME, name.constData(), CURLFORM_CONTENTSLENGTH,
        static_cast<long>(content.size()), CURLFORM_COPYCONTENTS, content.constData(), CURLFORM_END);
}

QString fileNameIn(const QJsonObject& json)
{
    return json.contains(FILE_NAME_KEY) ? json.value(FILE_NAME_KEY).toString() : DEFAULT_FILE_NAME;
}

std::vector<HttpInternalQueryMemoryParameter> toBytes(const HttpQueryParameters& parameters)
{
    std::vector<HttpInternalQueryMemoryParameter> bytes;
    bytes.reserve(static_cast<size_t>(parameters.count()));
    for (int i = 0; i < parameters.count(); ++i) {
        const HttpQuerySingleParameter parameter = parameters.at(i);
        bytes.push_back({ parameter.key().toUtf8(), parameter.value().toUtf8() });
    }
    return bytes;
}

} // namespace

bool HTTPCurl::postHttp(const QString& url, const HttpQueryParameters& parameters)
{
    if (!checkIdle()) {
        return false;
    }
    mState->binaryMode = false;
    const std::vector<HttpInternalQueryMemoryParameter> fields = toBytes(parameters);
    curl_httppost* first = nullptr;
    curl_httppost* last = nullptr;
    for (const HttpInternalQueryMemoryParameter& field : fields) {
        if (!checkFormAdded(addField(first, last, field.key, field.value), __LINE__)) {
            // Deliberate: a form that libcurl refused to extend is left alone, not walked through to free it.
            return false;
        }
    }
    return postFormRaw(first, url);
}

bool HTTPCurl::postForm(const QString& url, const QJsonObject& json)
{
    return postForm(url, json, QByteArray(), false);
}

bool HTTPCurl::postForm(const QString& url, const QJsonObject& json, const QByteArray& fileData, bool binary)
{
    if (!checkIdle()) {
        return false;
    }
    mState->binaryMode = binary;
    // libcurl reads the file part from this copy, which therefore outlives the transfer.
    QByteArray processedFile = fileData;
    preProcess(processedFile, false);

    FormOwner form;
    if (!fileData.isEmpty() && !checkFormAdded(addFile(form, fileNameIn(json), processedFile), __LINE__)) {
        return false;
    }
    mState->lastJsonSent = QJsonDocument(json);
    const QByteArray text = mState->lastJsonSent.toJson();
    if (text.isNull() || !fillFormStruct(QString(), form.first, form.last, QString::fromUtf8(text))
        || !performPost(form.first, url, !fileData.isEmpty()) || !postProcess(mState->response)) {
        return false;
    }
    return !mState->binaryMode || splitResponse();
}

bool HTTPCurl::fillFormStruct(
    const QString& /*unused*/, curl_httppost*& first, curl_httppost*& last, const QString& json)
{
    QByteArray bytes = json.toUtf8();
    preProcess(bytes, true);
    if (!checkFormAdded(addField(first, last, "data_json", bytes), __LINE__)) {
        return false;
    }
    if (mState->binaryMode
        && !checkFormAdded(addField(first, last, HTTPCURL_KEY_BOOL_RESULT_AS_BINARY.toUtf8(), "1"), __LINE__)) {
        return false;
    }
    return checkFormAdded(addField(first, last, "submit", "send"), __LINE__);
}

bool HTTPCurl::checkFormAdded(CURLFORMcode code, int line)
{
    if (code == CURL_FORMADD_OK) {
        return true;
    }
    mState->errorDetail.clear();
    raiseError(*this, code, "codeRet", { __FILE__, line });
    return false;
}

bool HTTPCurl::postFormRaw(curl_httppost* form, const QString& url)
{
    FormOwner formOwner;
    formOwner.first = form;
    return checkIdle() && performPost(form, url, false) && postProcess(mState->response);
}

bool HTTPCurl::performPost(curl_httppost* form, const QString& url, bool sendsInPlace)
{
    const QScopedValueRollback<bool> running(mState->isRunning, true);
    CURL* handle = nullptr;
    if (!curlInit(handle, url)) {
        return false;
    }
    const EasyHandle owner(handle);
    curl_easy_setopt(handle, CURLOPT_URL, url.toUtf8().constData());
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, writeResponse);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    const MimeForm inPlace(handle, sendsInPlace ? form : nullptr);
    CURLcode code = sendsInPlace ? inPlace.attach() : curl_easy_setopt(handle, CURLOPT_HTTPPOST, form);
    setCurlGETAndPOSTCommonConfig(handle, nullptr);
    if (code == CURLE_OK) {
        code = performRequest(handle, url);
    }
    // Deliberate: unlike a GET, a post that the download limit stopped ends with libcurl's code.
    setResult(code);
    return code == CURLE_OK;
}

/// False if there is not enough memory for both parts.
bool HTTPCurl::splitResponse()
{
    try {
        formatBinaryResponse();
        return true;
    } catch (const std::bad_alloc&) {
        handleCurlErrorCode(CURLE_OUT_OF_MEMORY);
        return false;
    }
}

void HTTPCurl::formatBinaryResponse()
{
    const auto separator = mState->response.indexOf(SEPARATOR_BINARY);
    if (separator < 0) {
        return;
    }
    const QByteArray binary = mState->response.mid(separator + SEPARATOR_BINARY.size());
    if (!binary.isEmpty()) {
        mState->binaryResponse = binary;
    }
    mState->response.truncate(separator);
}
