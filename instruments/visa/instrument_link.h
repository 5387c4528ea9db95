#pragma once
// One open instrument behind a VISA session handle: the VXI-11 link or the raw socket.

#include "instruments/visa/visa_session.h"

#include <string>
#include <string_view>

namespace zel::visa {

class InstrumentLink {
public:
    virtual ~InstrumentLink() = default;
    virtual ViStatus write(std::string_view data, std::uint32_t& written, int timeoutMs) = 0;
    virtual ViStatus read(std::string& data, std::uint32_t maxCount, int timeoutMs) = 0;
    virtual void close() = 0;
    virtual LinkState state() const = 0;
};

} // namespace zel::visa
