#pragma once
// The commands that talk to instruments run Qt event loops (sockets, serial lines, timers), which need an
// application object; the other commands do without one, so it is made on first use.

#include "common/console_host.h"

#include <QCoreApplication>

namespace zel::cli {

inline QCoreApplication& qtApp() {
    static int argc = 1;
    static char name[] = "zel-cli";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return app;
}

// --yes and --no answer every question; neither leaves each question its default answer.
inline ConsoleHost::Policy answerPolicy(bool yes, bool no) {
    return yes ? ConsoleHost::Policy::Yes : (no ? ConsoleHost::Policy::No : ConsoleHost::Policy::Default);
}

} // namespace zel::cli
