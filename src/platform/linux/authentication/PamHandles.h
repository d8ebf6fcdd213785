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
        : status_(pam_start_confdir(service.c_str(), user.c_str(), &conversation, folder.c_str(), &handle)) {}
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction() {
        if (handle) pam_end(handle, status_);
    }

    /// Goes on with a step when all before it succeeded.
    template <class Step>
    Transaction& then(Step step, int flags) {
        if (status_ == PAM_SUCCESS) status_ = step(handle, flags);
        return *this;
    }
    int status() const { return status_; }

private:
    pam_handle_t* handle = nullptr;
    int status_;
};

}  // namespace vellumix::linux_desktop::pam
