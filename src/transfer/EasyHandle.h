#pragma once

#include <curl/curl.h>

#include <memory>

struct CurlListDeleter
{
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

using CurlList = std::unique_ptr<curl_slist, CurlListDeleter>;

struct EasyHandleDeleter
{
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};

/// Owns an easy handle, so that no path through a request leaks one.
using EasyHandle = std::unique_ptr<CURL, EasyHandleDeleter>;
