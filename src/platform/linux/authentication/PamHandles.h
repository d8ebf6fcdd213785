#pragma once

#include <security/pam_appl.h>

#include <string>

/// The handle of PAM that this folder owns.
namespace vellumix::linux_desktop::pam {

/// One exchange with the modules of a service, ended with its last status.
class Transaction {
public:
    Transaction(const std::string& service, const std::string& user, const pam_conv& conversation,
                const std::string& folder)
        : _status(pam_start_confdir(service.c_str(), user.c_str(), &conversation, folder.c_str(), &_handle)) {
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction() {
        if (_handle) pam_end(_handle, _status);
    }

    /// Goes on with a step when all before it succeeded.
    template <class Step>
    Transaction& then(Step step, int flags) {
        if (_status == PAM_SUCCESS) _status = step(_handle, flags);
        return *this;
    }
    int status() const { return _status; }

private:
    pam_handle_t* _handle = nullptr;
    int _status;
};

}  // namespace vellumix::linux_desktop::pam
