#include "platform/linux/http/CurlLibrary.h"

#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "platform/foundation/cipher/AESGCM.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix::linux_desktop {

namespace {

/// The library copies names and passwords, headers and answers: none of them stays in memory that it has
/// given back.
void wipeAndFree(void* memory) {
    if (!memory) return;
    wipe({static_cast<std::uint8_t*>(memory), malloc_usable_size(memory)});
    std::free(memory);
}

void* reallocateWiped(void* memory, std::size_t size) {
    auto* const other = std::malloc(size);
    if (other && memory) {
        std::memcpy(other, memory, std::min(size, malloc_usable_size(memory)));
        wipeAndFree(memory);
    }
    return other;
}

template <class Function>
bool find(void* library, const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(::dlsym(library, name));
    return function != nullptr;
}

std::optional<CurlLibrary> load() {
    // The name under which distributions have the one on OpenSSL, whose verdicts on certificates are told
    // apart here.
    void* const library = ::dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
    CurlLibrary curl{};
    const bool isWhole =
        library && find(library, "curl_global_init_mem", curl.globalInitMem) &&
        find(library, "curl_easy_init", curl.easyInit) &&
        find(library, "curl_easy_cleanup", curl.easyCleanup) &&
        find(library, "curl_easy_setopt", curl.easySetopt) &&
        find(library, "curl_easy_getinfo", curl.easyGetinfo) &&
        find(library, "curl_easy_pause", curl.easyPause) &&
        find(library, "curl_multi_init", curl.multiInit) &&
        find(library, "curl_multi_cleanup", curl.multiCleanup) &&
        find(library, "curl_multi_setopt", curl.multiSetopt) &&
        find(library, "curl_multi_add_handle", curl.multiAddHandle) &&
        find(library, "curl_multi_remove_handle", curl.multiRemoveHandle) &&
        find(library, "curl_multi_socket_action", curl.multiSocketAction) &&
        find(library, "curl_multi_info_read", curl.multiInfoRead) &&
        find(library, "curl_slist_append", curl.slistAppend) &&
        find(library, "curl_slist_free_all", curl.slistFreeAll) && find(library, "curl_url", curl.url) &&
        find(library, "curl_url_set", curl.urlSet) && find(library, "curl_url_get", curl.urlGet) &&
        find(library, "curl_url_cleanup", curl.urlCleanup) && find(library, "curl_free", curl.free);
    const auto begin = [&] {
        return curl.globalInitMem(CURL_GLOBAL_DEFAULT, std::malloc, wipeAndFree, reallocateWiped, ::strdup,
                                  std::calloc) == CURLE_OK;
    };
    if (isWhole && begin()) return curl;
    const char* const reason = library ? nullptr : ::dlerror();
    Log("Network").error(std::string("libcurl can't be used: ") + (reason ? reason : "it lacks functions"));
    return std::nullopt;
}

}  // namespace

const CurlLibrary* CurlLibrary::loaded() {
    assertMainThread();
    static const std::optional<CurlLibrary> library = load();
    return library ? &*library : nullptr;
}

}  // namespace vellumix::linux_desktop
