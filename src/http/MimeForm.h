#pragma once

#include <curl/curl.h>

#include <memory>

/**
 * A form made with curl_formadd from fields in memory and files in memory, as one that libcurl sends from where the
 * files are. The form API copies them.
 */
class MimeForm
{
public:
    /// The form, which may be null, and the bytes that it points to outlive this object; this object ends before the
    /// handle.
    MimeForm(CURL* handle, const curl_httppost* form);

    /// Makes the form the body of the next request of the handle. It sends the same bytes as the form API. The
    /// result is libcurl's; CURLE_OUT_OF_MEMORY if the form is not complete.
    CURLcode attach() const;

private:
    /// False if there is not enough memory.
    bool add(const curl_httppost& field);

    struct MimeDeleter
    {
        void operator()(curl_mime* mime) const { curl_mime_free(mime); }
    };

    CURL* const mHandle;
    const std::unique_ptr<curl_mime, MimeDeleter> mMime;
    bool mIsComplete;
};
