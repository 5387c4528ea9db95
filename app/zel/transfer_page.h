#pragma once
// The Transfer page (form frmFTP): a copy of every recorded push's files in a second folder (a network share
// or a folder a sync client sends to the office), made as soon as the push is written.

#include "acquisition/log_recorder.h"
#include "common/host.h"

#include <QWidget>

#include <string>

namespace zel::gui {

namespace transfer_control {
inline constexpr const char* kCopyAfterPush = "chkTransferCopy";
inline constexpr const char* kFolder = "txtTransferFolder";
} // namespace transfer_control

class TransferPage final : public QWidget {
public:
    TransferPage();
};

// Copies the push's files into folder (made when missing), overwriting older copies. Each failure is named
// through the host; returns the number of files copied.
int CopyPushFiles(const acq::RecordedFiles& files, const std::string& folder, Host& host);

} // namespace zel::gui
