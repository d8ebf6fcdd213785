#pragma once

namespace vellumix {

/// Frees a handle of a C library with the function that the library gives for it, as the deleter of a unique
/// pointer.
template <auto Free>
struct HandleDeleter {
    template <class T>
    void operator()(T* handle) const {
        Free(handle);
    }
};

}  // namespace vellumix
