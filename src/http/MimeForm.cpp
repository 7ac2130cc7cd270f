#include "MimeForm.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

/// A file in memory, and how far libcurl has read it.
struct Reader
{
    const char* bytes;
    size_t size;
    size_t position;

    static size_t read(char* target, size_t size, size_t count, void* self)
    {
        Reader& reader = *static_cast<Reader*>(self);
        const size_t read = std::min(size * count, reader.size - reader.position);
        std::memcpy(target, reader.bytes + reader.position, read);
        reader.position += read;
        return read;
    }

    /// Called when libcurl has to send the form again, as after a redirection with status 307.
    static int seek(void* self, curl_off_t offset, int origin)
    {
        Reader& reader = *static_cast<Reader*>(self);
        if (origin != SEEK_SET || offset < 0 || static_cast<size_t>(offset) > reader.size) {
            return CURL_SEEKFUNC_FAIL;
        }
        reader.position = static_cast<size_t>(offset);
        return CURL_SEEKFUNC_OK;
    }

    static void free(void* self) { delete static_cast<Reader*>(self); }
};

} // namespace

MimeForm::MimeForm(CURL* handle, const curl_httppost* form)
    : mHandle(handle)
    , mMime(form ? curl_mime_init(handle) : nullptr)
    , mIsComplete(mMime != nullptr)
{
    for (; mIsComplete && form; form = form->next) {
        mIsComplete = add(*form);
    }
}

bool MimeForm::add(const curl_httppost& field)
{
    curl_mimepart* const part = curl_mime_addpart(mMime.get());
    if (!part || curl_mime_name(part, field.name) != CURLE_OK) {
        return false;
    }
    if (!(field.flags & CURL_HTTPPOST_BUFFER)) {
        const auto size = static_cast<size_t>(field.contentlen);
        return curl_mime_data(part, field.contents, size == 0 ? CURL_ZERO_TERMINATED : size) == CURLE_OK;
    }
    const auto size = static_cast<size_t>(field.bufferlength);
    auto* const reader = new (std::nothrow) Reader { field.buffer, size, 0 };
    return reader
        && curl_mime_data_cb(part, field.bufferlength, Reader::read, Reader::seek, Reader::free, reader) == CURLE_OK
        && curl_mime_filename(part, field.showfilename) == CURLE_OK
        && curl_mime_type(part, field.contenttype) == CURLE_OK; // guessed from the name of the file
}

CURLcode MimeForm::attach() const
{
    return mIsComplete ? curl_easy_setopt(mHandle, CURLOPT_MIMEPOST, mMime.get()) : CURLE_OUT_OF_MEMORY;
}
