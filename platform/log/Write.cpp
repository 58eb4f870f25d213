#include "Write.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace {

/// Keeps from the program what a write that fails raises on its thread.
class SignalHold {
  public:
    SignalHold() {
        sigset_t held;
        sigemptyset(&held);
        sigaddset(&held, SIGPIPE);
        sigaddset(&held, SIGXFSZ);
        sigemptyset(&m_pendingBefore);
        pthread_sigmask(SIG_BLOCK, &held, &m_maskBefore);
        if (sigismember(&m_maskBefore, SIGPIPE) == 1 || sigismember(&m_maskBefore, SIGXFSZ) == 1) {
            sigpending(&m_pendingBefore);  // else nothing can be
        }
    }
    ~SignalHold() { pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr); }
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;

    /// Takes the signal that came with an error of write(2).
    void Take(int error) const {
        const int signal = error == EPIPE ? SIGPIPE : error == EFBIG ? SIGXFSZ : 0;
        if (signal != 0 && sigismember(&m_pendingBefore, signal) == 0) {
            sigset_t raised;
            sigemptyset(&raised);
            sigaddset(&raised, signal);
            const timespec now{};
            sigtimedwait(&raised, nullptr, &now);
        }
    }

  private:
    sigset_t m_maskBefore{};
    sigset_t m_pendingBefore{};
};

}  // namespace

int Write(int descriptor, std::string_view text) {
    const SignalHold signals;
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = write(descriptor, text.data() + done, text.size() - done);
        if (written >= 0) {
            done += static_cast<std::size_t>(written);
        } else if (errno == EAGAIN && done > 0) {
            pollfd room{descriptor, POLLOUT, 0};
            poll(&room, 1, -1);
        } else if (errno != EINTR) {
            const int error = errno;
            signals.Take(error);
            return -error;
        }
    }
    return static_cast<int>(done);
}
