#pragma once

namespace vellumix {

/// In force while a view is evaluated, laid out or drawn: its thread describes what is to be seen, and does
/// nothing. Scopes nest.
class Describing {
public:
#ifdef NDEBUG
    Describing() {}
#else
    Describing();
    ~Describing();
#endif
    Describing(const Describing&) = delete;
    Describing& operator=(const Describing&) = delete;
};

/// Called first by whatever reads or writes a file, asks the keychain, enciphers, deciphers, tells others or
/// changes what they observe: a program that was built with assertions ends when that is done while a view is
/// described. `deed` is what the message says was done. Any thread.
#ifdef NDEBUG
inline void assertNotDescribing(const char*) {}
#else
void assertNotDescribing(const char* deed);
#endif

}  // namespace vellumix
