#include "instruments/visa/ieee_block.h"

#include <algorithm>

namespace zel::visa {

void BlockParser::reset() {
    state_ = State::Header;
    digitsLeft_ = 0;
    length_ = 0;
    data_.clear();
    error_.clear();
}

void BlockParser::fail(std::string why) {
    state_ = State::Error;
    error_ = std::move(why);
    data_.clear();
}

std::size_t BlockParser::feed(std::string_view bytes) {
    std::size_t pos = 0;
    while (pos < bytes.size()) {
        const char c = bytes[pos];
        switch (state_) {
        case State::Header:
            if (c != '#') {
                fail("block does not start with #");
                return pos;
            }
            state_ = State::Digits;
            digitsLeft_ = -1;
            ++pos;
            break;
        case State::Digits:
            if (c < '0' || c > '9') {
                fail("block header has a non-digit");
                return pos;
            }
            if (digitsLeft_ < 0) {
                // "#0" is the indefinite form: its end cannot be told from binary data.
                if (c == '0') {
                    fail("indefinite-length block (#0)");
                    return pos;
                }
                digitsLeft_ = c - '0';
            } else {
                length_ = length_ * 10 + static_cast<std::size_t>(c - '0');
                if (length_ > maxLength_) {
                    fail("block longer than " + std::to_string(maxLength_) + " bytes");
                    return pos;
                }
                --digitsLeft_;
            }
            ++pos;
            if (digitsLeft_ == 0) {
                state_ = length_ == 0 ? State::AfterData : State::Data;
                data_.reserve(length_);
            }
            break;
        case State::Data: {
            const std::size_t n = std::min(length_ - data_.size(), bytes.size() - pos);
            data_.append(bytes.substr(pos, n));
            pos += n;
            if (data_.size() == length_) state_ = State::AfterData;
            break;
        }
        case State::AfterData:
            state_ = State::Complete;
            if (c == '\n') ++pos;
            return pos;
        case State::Complete:
        case State::Error: return pos;
        }
    }
    return pos;
}

void BlockParser::finish() {
    if (state_ == State::AfterData)
        state_ = State::Complete;
    else if (state_ != State::Complete && state_ != State::Error)
        fail(state_ == State::Data ? "short block: " + std::to_string(data_.size()) + " of " +
                                         std::to_string(length_) + " bytes"
                                   : "incomplete block header");
}

} // namespace zel::visa
