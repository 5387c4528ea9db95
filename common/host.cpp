#include "common/host.h"

namespace zel {

MsgResult defaultResult(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::Ok:
    case MsgButtons::OkCancel: return MsgResult::Ok;
    case MsgButtons::AbortRetryIgnore: return MsgResult::Abort;
    case MsgButtons::YesNoCancel:
    case MsgButtons::YesNo: return MsgResult::Yes;
    case MsgButtons::RetryCancel: return MsgResult::Retry;
    }
    return MsgResult::Ok;
}

} // namespace zel
