#include "MimeForm.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

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
{
    for (; mMime && form; form = form->next) {
        add(*form);
    }
}

void MimeForm::add(const curl_httppost& field)
{
    curl_mimepart* const part = curl_mime_addpart(mMime.get());
    curl_mime_name(part, field.name);
    if (field.flags & CURL_HTTPPOST_BUFFER) {
        const auto size = static_cast<size_t>(field.bufferlength);
        curl_mime_filename(part, field.showfilename);
        curl_mime_type(part, field.contenttype); // guessed from the name of the file
        curl_mime_data_cb(
            part, field.bufferlength, Reader::read, Reader::seek, Reader::free, new Reader { field.buffer, size, 0 });
    } else {
        const auto size = static_cast<size_t>(field.contentlen);
        curl_mime_data(part, field.contents, size == 0 ? CURL_ZERO_TERMINATED : size);
    }
}

void MimeForm::attach() const
{
    curl_easy_setopt(mHandle, CURLOPT_MIMEPOST, mMime.get());
}
