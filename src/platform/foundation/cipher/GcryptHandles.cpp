#include "platform/foundation/cipher/GcryptHandles.h"

namespace vellumix::gcrypt {

bool prepareLibrary() {
    static const bool isPrepared = [] {
        if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) return true;
        if (!gcry_check_version(GCRYPT_VERSION)) return false;
        gcry_control(GCRYCTL_DISABLE_SECMEM_WARN);
        return gcry_control(GCRYCTL_INITIALIZATION_FINISHED) == 0;
    }();
    return isPrepared;
}

}  // namespace vellumix::gcrypt
