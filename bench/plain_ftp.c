/*
 * A file store over FTP or SFTP in C with libcurl's defaults, for comparison with bench_tavrel_ftp. One handle serves
 * all requests, with the options and in the steps that Tavrel needs for this work.
 *
 *   bench_plain_ftp publish ftp|sftp PORT ROOT FOLDER   uploads the subdirectories of FOLDER, with their files, to site
 *   bench_plain_ftp put     ftp|sftp PORT ROOT PATH     uploads PATH to the file large
 *   bench_plain_ftp get     ftp|sftp PORT ROOT PATH     downloads the file large to PATH
 *   bench_plain_ftp find    ftp      PORT ROOT COUNT    lists the directory tree recursively, which holds COUNT files
 *   bench_plain_ftp remove  ftp      PORT ROOT          removes the directory tree recursively
 *
 * ROOT is the prefix of remote paths. USER_NAME and PASSWORD of the environment hold the account.
 */

#include "report.h"

#include <curl/curl.h>

#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#define TEXT_SIZE 4096
#define INITIAL_CAPACITY ((size_t)65536)

static CURL* handle;
static const char* root;
static char baseUrl[TEXT_SIZE];
static int isSftp;

static void fail(const char* reason)
{
    fprintf(stderr, "bench_plain_ftp: %s\n", reason);
    exit(1);
}

static size_t discard(char* bytes, size_t size, size_t count, void* target)
{
    (void)bytes;
    (void)target;
    return size * count;
}

static void startSession(const char* protocol, const char* port, const char* rootOnServer)
{
    handle = curl_easy_init();
    if (!handle) {
        fail("libcurl created no handle");
    }
    root = rootOnServer;
    isSftp = !strcmp(protocol, "sftp");
    snprintf(baseUrl, sizeof(baseUrl), "%s://127.0.0.1:%s/", protocol, port);
    curl_easy_setopt(handle, CURLOPT_USERNAME, getenv("USER_NAME"));
    curl_easy_setopt(handle, CURLOPT_PASSWORD, getenv("PASSWORD"));
    curl_easy_setopt(handle, CURLOPT_FTP_USE_EPSV, 0L);
    curl_easy_setopt(handle, CURLOPT_FTP_FILEMETHOD, (long)CURLFTPMETHOD_SINGLECWD);
}

/* Sets the URL of a path. The names in the benchmark need no encoding. */
static void setPath(const char* path)
{
    char url[TEXT_SIZE * 2];
    snprintf(url, sizeof(url), "%s%s%s%s", baseUrl, root, *root ? "/" : "", path);
    curl_easy_setopt(handle, CURLOPT_URL, url);
}

static void perform(void)
{
    const CURLcode code = curl_easy_perform(handle);
    if (code != CURLE_OK) {
        fail(curl_easy_strerror(code));
    }
}

static int directoryExists(const char* directory)
{
    char path[TEXT_SIZE];
    snprintf(path, sizeof(path), "%s/", directory);
    setPath(path);
    /* Over SFTP, only a listing shows whether a directory exists. */
    curl_easy_setopt(handle, CURLOPT_NOBODY, isSftp ? 0L : 1L);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, discard);
    const CURLcode code = curl_easy_perform(handle);
    curl_easy_setopt(handle, CURLOPT_NOBODY, 0L);
    if (code != CURLE_OK && code != CURLE_REMOTE_ACCESS_DENIED && code != CURLE_REMOTE_FILE_NOT_FOUND) {
        fail(curl_easy_strerror(code));
    }
    return code == CURLE_OK;
}

/* Commands are sent from the login directory. */
static void sendCommand(const char* verb, const char* path)
{
    char command[TEXT_SIZE];
    snprintf(command, sizeof(command), "%s %s%s%s", verb, root, *root ? "/" : "", path);
    struct curl_slist* commands = curl_slist_append(NULL, command);
    curl_easy_setopt(handle, CURLOPT_URL, baseUrl);
    curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
    curl_easy_setopt(handle, CURLOPT_POSTQUOTE, commands);
    perform();
    curl_easy_setopt(handle, CURLOPT_POSTQUOTE, NULL);
    curl_easy_setopt(handle, CURLOPT_NOBODY, 0L);
    curl_slist_free_all(commands);
}

static void createIfMissing(const char* directory)
{
    if (!directoryExists(directory)) {
        sendCommand(isSftp ? "mkdir" : "MKD", directory);
    }
}

static void put(const char* source, const char* target)
{
    FILE* file = fopen(source, "rb");
    struct stat status;
    if (!file || fstat(fileno(file), &status)) {
        fail("a file cannot be read");
    }
    setPath(target);
    curl_easy_setopt(handle, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(handle, CURLOPT_READDATA, file);
    curl_easy_setopt(handle, CURLOPT_INFILESIZE_LARGE, (curl_off_t)status.st_size);
    perform();
    curl_easy_setopt(handle, CURLOPT_UPLOAD, 0L);
    fclose(file);
}

static void get(const char* source, const char* target)
{
    FILE* file = fopen(target, "wb");
    if (!file) {
        fail("the file cannot be written");
    }
    setPath(source);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, file);
    perform();
    if (fclose(file)) {
        fail("the file cannot be written");
    }
}

static int isVisible(const struct dirent* entry)
{
    return entry->d_name[0] != '.';
}

/* Calls visit with the local and remote path of each entry of a folder, sorted by name. */
static void forEachIn(const char* folder, const char* target, void (*visit)(const char*, const char*))
{
    struct dirent** entries = NULL;
    const int count = scandir(folder, &entries, isVisible, alphasort);
    for (int i = 0; i < count; ++i) {
        char source[TEXT_SIZE];
        char path[TEXT_SIZE];
        snprintf(source, sizeof(source), "%s/%s", folder, entries[i]->d_name);
        snprintf(path, sizeof(path), "%s/%s", target, entries[i]->d_name);
        visit(source, path);
        free(entries[i]);
    }
    free(entries);
}

static void publishDirectory(const char* folder, const char* target)
{
    createIfMissing(target);
    forEachIn(folder, target, put);
}

static void publish(const char* folder)
{
    createIfMissing("site");
    forEachIn(folder, "site", publishDirectory);
}

struct Listing
{
    char* text;
    size_t size;
    size_t capacity;
};

static size_t append(char* bytes, size_t size, size_t count, void* target)
{
    struct Listing* listing = target;
    const size_t added = size * count;
    while (listing->capacity < listing->size + added + 1) {
        listing->capacity = listing->capacity ? listing->capacity * 2 : INITIAL_CAPACITY;
        listing->text = realloc(listing->text, listing->capacity);
        if (!listing->text) {
            return 0;
        }
    }
    memcpy(listing->text + listing->size, bytes, added);
    listing->size += added;
    listing->text[listing->size] = '\0';
    return added;
}

static void sendRemoval(const char* verb, const char* path)
{
    sendCommand(verb, path);
}

static int found = 0;

static void countFile(const char* verb, const char* path)
{
    (void)path;
    found += !strcmp(verb, "DELE");
}

/* Called with the command that removes a path. */
typedef void (*Visit)(const char*, const char*);

static void walk(const char* directory, Visit visit);

/* Lines have the format of ls -l; the names in the benchmark contain no blanks. */
static void visitEntry(const char* directory, const char* line, Visit visit)
{
    const char* name = strrchr(line, ' ') + 1;
    char path[TEXT_SIZE];
    snprintf(path, sizeof(path), "%s/%s", directory, name);
    if (line[0] == 'd' && strcmp(name, ".") != 0 && strcmp(name, "..") != 0) {
        walk(path, visit);
    } else if (line[0] == '-') {
        visit("DELE", path);
    }
}

static void walk(const char* directory, Visit visit)
{
    struct Listing listing = { NULL, 0, 0 };
    char path[TEXT_SIZE];
    snprintf(path, sizeof(path), "%s/", directory);
    setPath(path);
    curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, "LIST -a");
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &listing);
    perform();
    curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, NULL);
    char* rest = NULL;
    for (char* line = strtok_r(listing.text, "\r\n", &rest); line; line = strtok_r(NULL, "\r\n", &rest)) {
        visitEntry(directory, line, visit);
    }
    free(listing.text);
    visit("RMD", directory);
}

int main(int argc, char* argv[])
{
    const char* subject = argc > 4 ? argv[1] : "";
    const char* path = argc > 5 ? argv[5] : NULL;
    curl_global_init(CURL_GLOBAL_DEFAULT);
    const struct Moment start = momentNow();
    if (*subject) {
        startSession(argv[2], argv[3], argv[4]);
    }
    if (!strcmp(subject, "publish") && path) {
        publish(path);
    } else if (!strcmp(subject, "put") && path) {
        put(path, "large");
    } else if (!strcmp(subject, "get") && path) {
        get("large", path);
    } else if (!strcmp(subject, "remove")) {
        walk("tree", sendRemoval);
    } else if (!strcmp(subject, "find") && path) {
        walk("tree", countFile);
        if (found != (int)strtol(path, NULL, 10)) {
            fail("not all files were listed");
        }
    } else {
        fail("publish, put, get, find or remove, then ftp or sftp, PORT, ROOT and a path");
    }
    reportSince(start);
    curl_easy_cleanup(handle);
    curl_global_cleanup();
    return 0;
}
