// Where a thread that is in the library can be cancelled: while it waits for the service, and in
// its caller's own callbacks. Everywhere else it would end the process from a destructor, or leave
// open what a C library below was about to hand back.
#pragma once

#include <pthread.h>

namespace Cancellation {

constexpr int kNotHeld = -1;

/// The state that the thread's caller chose, while it is held.
inline thread_local int t_nCallersState = kNotHeld;

/// Holds the thread's cancellation while it lives. Inside another it does nothing. Not inline: the
/// getters' own stores are looked at in what is built.
class CHold {
  public:
    [[gnu::noinline]] CHold() : m_bOutermost(t_nCallersState == kNotHeld) {
        if (m_bOutermost) {
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &t_nCallersState);
        }
    }
    [[gnu::noinline]] ~CHold() {
        if (m_bOutermost) {
            const int state = t_nCallersState;
            t_nCallersState = kNotHeld;
            pthread_setcancelstate(state, nullptr);
        }
    }
    CHold(const CHold&) = delete;
    CHold& operator=(const CHold&) = delete;

  private:
    const bool m_bOutermost;
};

/// Gives the caller its own state back, within a CHold and for as long as it lives. A state that is
/// set meanwhile is the caller's from then on.
class CRelease {
  public:
    CRelease() {
        const int state = t_nCallersState;
        t_nCallersState = kNotHeld;
        pthread_setcancelstate(state, nullptr);
    }
    ~CRelease() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &t_nCallersState); }
    CRelease(const CRelease&) = delete;
    CRelease& operator=(const CRelease&) = delete;
};

}  // namespace Cancellation
