#include "platform/DdeWatch.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QSocketNotifier>
#include <QThread>

namespace {

bool EventLoopHere() {
    QCoreApplication* app = QCoreApplication::instance();
    return app != nullptr && app->thread() == QThread::currentThread();
}

}  // namespace

DdeWatch::DdeWatch(int fd, std::function<void()> onReadable) {
    if (!EventLoopHere()) return;
    auto* notifier = new QSocketNotifier(static_cast<qintptr>(fd), QSocketNotifier::Read);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [fn = std::move(onReadable)] { fn(); });
    notifier_ = notifier;
}

DdeWatch::~DdeWatch() {
    auto* notifier = static_cast<QSocketNotifier*>(notifier_);
    if (notifier == nullptr) return;
    // The owner may be going away from inside the notifier's own callback: disconnect now, delete later.
    QObject::disconnect(notifier, nullptr, nullptr, nullptr);
    notifier->setEnabled(false);
    notifier->deleteLater();
}

bool DdeWatch::Later(std::function<void()> fn) {
    if (!EventLoopHere()) return false;
    QMetaObject::invokeMethod(QCoreApplication::instance(), [fn = std::move(fn)] { fn(); }, Qt::QueuedConnection);
    return true;
}
