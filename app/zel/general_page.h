#pragma once
// The General page (form frmGeneric): how the program behaves around the operator's work, kept in the options
// file's "Generic" section.

#include <QWidget>

namespace zel::gui {

namespace general_control {
inline constexpr const char* kPushSummary = "chkPushSummary";
inline constexpr const char* kOpenLastLog = "chkOpenLastLog";
} // namespace general_control

class GeneralPage final : public QWidget {
public:
    GeneralPage();
};

} // namespace zel::gui
