#pragma once
// The QApplication of the window tests, on the offscreen platform so they run without a display.

#include <QApplication>

#include <cstdlib>

namespace zel::gui::testing {

inline QApplication& guiTestApp() {
    static int argc = 1;
    static char name[] = "zel_tests";
    static char* argv[] = {name, nullptr};
    static QApplication* app = [] {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
        return new QApplication(argc, argv);
    }();
    return *app;
}

} // namespace zel::gui::testing
