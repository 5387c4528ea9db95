#pragma once
// The QCoreApplication that socket tests need for their event loops, created once per test program.

#include <QCoreApplication>

namespace zel::platform {

inline void ensureQtTestApp() {
    static int argc = 1;
    static char name[] = "zel_test";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
}

} // namespace zel::platform
