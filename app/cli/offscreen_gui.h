#pragma once
// The commands that draw (pages, maps, sections) need fonts, hence a QGuiApplication; without a display it
// runs on the offscreen platform.

#include <QGuiApplication>

namespace zel::cli {

class OffscreenGui {
public:
    OffscreenGui() : app_((prepare(), argc_), argv_) {}

private:
    static void prepare() {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
            qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    int argc_ = 1;
    char name_[8] = "zel-cli";
    char* argv_[2] = {name_, nullptr};
    QGuiApplication app_;
};

} // namespace zel::cli
