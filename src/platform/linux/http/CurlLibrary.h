#pragma once

#include <curl/curl.h>

namespace vellumix::linux_desktop {

/// What the program calls of libcurl, which isn't linked: it and the libraries that it brings cost a few
/// megabytes, and most people never need them.
struct CurlLibrary {
    decltype(&curl_global_init_mem) globalInitMem;
    decltype(&curl_easy_init) easyInit;
    decltype(&curl_easy_cleanup) easyCleanup;
    decltype(&curl_easy_setopt) easySetopt;
    decltype(&curl_easy_getinfo) easyGetinfo;
    decltype(&curl_easy_pause) easyPause;
    decltype(&curl_multi_init) multiInit;
    decltype(&curl_multi_cleanup) multiCleanup;
    decltype(&curl_multi_setopt) multiSetopt;
    decltype(&curl_multi_add_handle) multiAddHandle;
    decltype(&curl_multi_remove_handle) multiRemoveHandle;
    decltype(&curl_multi_socket_action) multiSocketAction;
    decltype(&curl_multi_info_read) multiInfoRead;
    decltype(&curl_slist_append) slistAppend;
    decltype(&curl_slist_free_all) slistFreeAll;
    decltype(&curl_url) url;
    decltype(&curl_url_set) urlSet;
    decltype(&curl_url_get) urlGet;
    decltype(&curl_url_cleanup) urlCleanup;
    decltype(&curl_free) free;

    /// Loads it at the first call, and keeps it: OpenSSL under it can't be unloaded. Null where the system
    /// has none, which the log says. Main thread.
    static const CurlLibrary* loaded();
};

}  // namespace vellumix::linux_desktop
