#pragma once

#include <tavrel/VFSCurlData.h>

#include <curl/curl.h>

/// The options of libcurl that belong to one request of an FTPCurl.
namespace RequestOptions {

bool isKind(int type);
/// Whether requests of this kind transfer a body.
bool hasBody(int type);

/// A URL as libcurl takes it.
QByteArray encodedUrl(QUrl url);
/// Sets all of them but the URL. The device of an upload is open. Fails for permissions that libcurl refuses.
CURLcode set(CURL* easy, VFSCurlData& data);
/// Leaves nothing on the handle that points to the request or belongs to it alone.
void clear(CURL* easy);

} // namespace RequestOptions
