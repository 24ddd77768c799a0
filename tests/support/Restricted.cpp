#include "support/Restricted.h"

#include <cerrno>
#include <cstddef>
#include <grp.h>
#include <iterator>
#include <system_error>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const char *call) {
    throw std::system_error(errno, std::generic_category(), call);
}

} // namespace

void Restricted::becomeOrdinaryUser() {
    constexpr unsigned nobody = 65534;
    if (::geteuid() != 0)
        return;
    if (::setgroups(0, nullptr) != 0 || ::setresgid(nobody, nobody, nobody) != 0 ||
        ::setresuid(nobody, nobody, nobody) != 0)
        fail("setresuid");
}

void Restricted::refuseCall(long number, int error) {
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<__u32>(number), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<__u32>(error)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {static_cast<unsigned short>(std::size(rules)), rules};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        fail("prctl");
}
