#include "platform/TermSignals.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>

namespace {

int signalPipe[2] = {-1, -1};

// Only async-signal-safe calls here: note the signal and fall back to the default action, so a
// second signal still ends a monitor that does not answer.
void NoteSignal(int number) {
    struct sigaction fallback {};
    fallback.sa_handler = SIG_DFL;
    ::sigaction(SIGTERM, &fallback, nullptr);
    ::sigaction(SIGINT, &fallback, nullptr);
    const char byte = static_cast<char>(number);
    [[maybe_unused]] ssize_t written = ::write(signalPipe[1], &byte, 1);
}

}  // namespace

void OnTermSignal(std::function<void()> onSignal) {
    if (signalPipe[0] < 0 && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, signalPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier, onSignal = std::move(onSignal)] {
        char byte = 0;
        while (::read(signalPipe[0], &byte, 1) > 0) {
        }
        notifier->setEnabled(false);
        onSignal();
    });
    struct sigaction action {};
    action.sa_handler = NoteSignal;
    ::sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
}
