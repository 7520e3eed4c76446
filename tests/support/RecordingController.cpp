// Stands at the radio controller's place: writes down how it was started into /tmp/controller.runs, waits for
// SIGTERM, writes that down too and leaves. Records end with 0x1E, their fields are separated by 0x1F.
#include <csignal>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

// In one write, so that a reader never sees half a record.
void record(const std::string& text)
{
    const int file = open("/tmp/controller.runs", O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (file < 0 || write(file, text.data(), text.size()) < 0) {
        _exit(1);
    }
    close(file);
}

} // namespace

int main(int argc, char** argv)
{
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGTERM);
    sigset_t inherited;
    sigprocmask(SIG_BLOCK, &mask, &inherited);
    int parentDeathSignal = 0;
    prctl(PR_GET_PDEATHSIG, &parentDeathSignal);

    const std::string self = std::to_string(getpid());
    std::string start = "start\x1f" + self + '\x1f' + std::to_string(parentDeathSignal) + '\x1f'
        + (sigismember(&inherited, SIGTERM) != 0 ? '1' : '0');
    for (int i = 0; i < argc; ++i) {
        start += '\x1f' + std::string(argv[i]);
    }
    record(start + '\x1e');
    int received = 0;
    sigwait(&mask, &received);
    record("end\x1f" + self + '\x1e');
    return 0;
}
