#include "instruments/platform/event_loop_host.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace zel::platform {

void EventLoopHost::yield() {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void EventLoopHost::sleepMs(int milliseconds) {
    if (milliseconds <= 0) {
        yield();
        return;
    }
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace zel::platform
