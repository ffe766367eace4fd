// File permissions bind everybody but root: while this lives, a test that runs as root does not.
#pragma once

#include <stdexcept>
#include <unistd.h>

namespace orvex::test {

class OrdinaryUser {
public:
    OrdinaryUser() : was_(::geteuid()) {
        constexpr uid_t nobody = 65534;
        if (was_ == 0 && ::seteuid(nobody) != 0) {
            throw std::runtime_error("root's rights cannot be laid down");
        }
    }
    ~OrdinaryUser() {
        if (was_ == 0 && ::seteuid(was_) != 0) {
            std::terminate();
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    uid_t was_;
};

} // namespace orvex::test
