// What a build says of itself that was given addresses and a key: those of a test, as a server on this
// machine has another port each time. Never installed.

#include <cstdlib>

#include "BuildInformation.h"

namespace vellumix {

PropertyDictionary buildInformation() {
    PropertyDictionary values;
    for (const char* key :
         {"CFBundleShortVersionString", "CFBundleVersion", "VLXServiceURL", "SUFeedURL", "SUPublicEDKey"}) {
        if (const char* value = std::getenv(key)) values[key] = std::string(value);
    }
    return values;
}

}  // namespace vellumix
