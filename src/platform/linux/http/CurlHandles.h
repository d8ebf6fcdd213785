#pragma once

#include <memory>

#include "platform/linux/http/CurlLibrary.h"

/// The handles of libcurl, one a line. They are made once it has been loaded.
namespace vellumix::linux_desktop::curl {

template <auto Function>
struct End {
    template <class T>
    void operator()(T* handle) const {
        (CurlLibrary::loaded()->*Function)(handle);
    }
};

using Easy = std::unique_ptr<CURL, End<&CurlLibrary::easyCleanup>>;
using Multi = std::unique_ptr<CURLM, End<&CurlLibrary::multiCleanup>>;
using List = std::unique_ptr<curl_slist, End<&CurlLibrary::slistFreeAll>>;
using Address = std::unique_ptr<CURLU, End<&CurlLibrary::urlCleanup>>;
using Text = std::unique_ptr<char, End<&CurlLibrary::free>>;

}  // namespace vellumix::linux_desktop::curl
