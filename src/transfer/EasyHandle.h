#pragma once

#include <curl/curl.h>

#include <memory>

struct EasyHandleDeleter
{
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};

/// Owns an easy handle, so that no path through a request leaks one.
using EasyHandle = std::unique_ptr<CURL, EasyHandleDeleter>;
