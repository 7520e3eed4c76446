#include "SystemCallFilter.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <vector>

namespace world {

namespace {

#if defined(__x86_64__)
constexpr unsigned Architecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr unsigned Architecture = AUDIT_ARCH_AARCH64;
#else
#error "name this processor's AUDIT_ARCH_ constant here"
#endif

constexpr std::array<unsigned, 6> Untranslated{ SYS_statx,     SYS_openat2,  SYS_faccessat2,
                                                SYS_renameat2, SYS_execveat, SYS_open_tree };

sock_filter instruction(int code, unsigned value, unsigned ifTrue = 0, unsigned ifFalse = 0)
{
    return { static_cast<unsigned short>(code), static_cast<unsigned char>(ifTrue),
             static_cast<unsigned char>(ifFalse), value };
}

} // namespace

void refuseUntranslatedCalls()
{
    const unsigned count = Untranslated.size();
    std::vector<sock_filter> program{
        instruction(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
        instruction(BPF_JMP | BPF_JEQ | BPF_K, Architecture, 0, count + 1), // otherwise to "allow"
        instruction(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    };
    for (unsigned i = 0; i < count; ++i) {
        program.push_back(instruction(BPF_JMP | BPF_JEQ | BPF_K, Untranslated.at(i), count - i, 0));
    }
    program.push_back(instruction(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    program.push_back(instruction(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS));

    const sock_fprog filter{ static_cast<unsigned short>(program.size()), program.data() };
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0); // what an ordinary user has to promise for a filter
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
}

} // namespace world
