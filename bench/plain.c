/*
 * HTTP transfers in C with libcurl's defaults, for comparison with bench_tavrel.
 *
 *   bench_plain get-file URL PATH
 *   bench_plain get-memory URL
 *   bench_plain small URL COUNT COOKIE_FILE
 *   bench_plain post URL PATH
 */

/* The form is built with libcurl's form API, which newer versions mark as deprecated. */
#define CURL_DISABLE_DEPRECATION

#include "report.h"

#include <curl/curl.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define INITIAL_CAPACITY ((size_t)1024)

struct Buffer
{
    char* bytes;
    size_t size;
    size_t capacity;
};

static void fail(const char* reason)
{
    fprintf(stderr, "bench_plain: %s\n", reason);
    exit(1);
}

static size_t append(char* bytes, size_t size, size_t count, void* target)
{
    struct Buffer* buffer = target;
    const size_t added = size * count;
    size_t capacity = buffer->capacity ? buffer->capacity : INITIAL_CAPACITY;
    while (capacity < buffer->size + added) {
        capacity *= 2;
    }
    if (capacity != buffer->capacity) {
        char* grown = realloc(buffer->bytes, capacity);
        if (!grown) {
            return 0;
        }
        buffer->bytes = grown;
        buffer->capacity = capacity;
    }
    memcpy(buffer->bytes + buffer->size, bytes, added);
    buffer->size += added;
    return added;
}

static CURL* newHandle(const char* url)
{
    CURL* handle = curl_easy_init();
    if (!handle) {
        fail("libcurl created no handle");
    }
    curl_easy_setopt(handle, CURLOPT_URL, url);
    curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
    return handle;
}

static void collectInto(CURL* handle, struct Buffer* buffer)
{
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, buffer);
}

static void perform(CURL* handle)
{
    const CURLcode code = curl_easy_perform(handle);
    curl_easy_cleanup(handle);
    if (code != CURLE_OK) {
        fail(curl_easy_strerror(code));
    }
}

static void getFile(const char* url, const char* path)
{
    const struct Moment start = momentNow();
    CURL* handle = newHandle(url);
    FILE* file = fopen(path, "wb");
    if (!file) {
        fail("the file cannot be written");
    }
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, file);
    perform(handle);
    if (fclose(file)) {
        fail("the file cannot be written");
    }
    reportSince(start);
}

static void getMemory(const char* url)
{
    const struct Moment start = momentNow();
    struct Buffer body = { NULL, 0, 0 };
    CURL* handle = newHandle(url);
    collectInto(handle, &body);
    perform(handle);
    reportSince(start);
    free(body.bytes);
}

static void getSmall(const char* url, const char* count, const char* cookieFile)
{
    const long requests = strtol(count, NULL, 10);
    const struct Moment start = momentNow();
    for (long i = 0; i < requests; ++i) {
        struct Buffer body = { NULL, 0, 0 };
        CURL* handle = newHandle(url);
        collectInto(handle, &body);
        curl_easy_setopt(handle, CURLOPT_COOKIEFILE, cookieFile);
        curl_easy_setopt(handle, CURLOPT_COOKIEJAR, cookieFile);
        perform(handle);
        free(body.bytes);
    }
    reportSince(start);
}

static struct Buffer readFile(const char* path)
{
    FILE* file = fopen(path, "rb");
    if (!file || fseek(file, 0, SEEK_END)) {
        fail("the file cannot be read");
    }
    struct Buffer content = { NULL, 0, 0 };
    content.size = (size_t)ftell(file);
    content.bytes = malloc(content.size);
    rewind(file);
    if (!content.bytes || fread(content.bytes, 1, content.size, file) != content.size) {
        fail("the file cannot be read");
    }
    fclose(file);
    return content;
}

static struct curl_httppost* newForm(const struct Buffer* content)
{
    struct curl_httppost* first = NULL;
    struct curl_httppost* last = NULL;
    if (curl_formadd(&first, &last, CURLFORM_COPYNAME, "sendfile", CURLFORM_BUFFER, "uploadedFile", CURLFORM_BUFFERPTR,
            content->bytes, CURLFORM_BUFFERLENGTH, (long)content->size, CURLFORM_END)
        || curl_formadd(&first, &last, CURLFORM_COPYNAME, "data_json", CURLFORM_COPYCONTENTS, "{}", CURLFORM_END)
        || curl_formadd(&first, &last, CURLFORM_COPYNAME, "submit", CURLFORM_COPYCONTENTS, "send", CURLFORM_END)) {
        fail("libcurl refused the form");
    }
    return first;
}

static void post(const char* url, const char* path)
{
    struct Buffer content = readFile(path);
    const struct Moment start = momentNow();
    struct Buffer answer = { NULL, 0, 0 };
    struct curl_httppost* form = newForm(&content);
    CURL* handle = newHandle(url);
    collectInto(handle, &answer);
    curl_easy_setopt(handle, CURLOPT_HTTPPOST, form);
    perform(handle);
    curl_formfree(form);
    reportSince(start);
    free(answer.bytes);
    free(content.bytes);
}

int main(int argc, char* argv[])
{
    const char* subject = argc > 1 ? argv[1] : "";
    curl_global_init(CURL_GLOBAL_DEFAULT);
    if (!strcmp(subject, "get-file") && argc == 4) {
        getFile(argv[2], argv[3]);
    } else if (!strcmp(subject, "get-memory") && argc == 3) {
        getMemory(argv[2]);
    } else if (!strcmp(subject, "small") && argc == 5) {
        getSmall(argv[2], argv[3], argv[4]);
    } else if (!strcmp(subject, "post") && argc == 4) {
        post(argv[2], argv[3]);
    } else {
        fail("get-file URL PATH, get-memory URL, small URL COUNT COOKIE_FILE or post URL PATH");
    }
    curl_global_cleanup();
    return 0;
}
