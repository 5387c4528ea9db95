#pragma once
// IEEE 488.2 definite-length block ("#" + digit n + n digits of byte count + the bytes, then the message's
// LF), read incrementally because a socket delivers it in arbitrary pieces. A block whose bytes stop short
// is an error: the caller never receives a padded or truncated record.

#include <cstddef>
#include <string>
#include <string_view>

namespace zel::visa {

class BlockParser {
public:
    enum class State { Header, Digits, Data, AfterData, Complete, Error };

    explicit BlockParser(std::size_t maxLength) : maxLength_(maxLength) {}

    // Consumes what it can of bytes and returns how much it took. Bytes after a complete block (other than
    // the one LF that ends it) are not taken.
    std::size_t feed(std::string_view bytes);
    // The message has ended: a block that has all its bytes completes, anything else becomes an error.
    void finish();

    State state() const { return state_; }
    bool complete() const { return state_ == State::Complete; }
    bool failed() const { return state_ == State::Error; }
    // Complete once the data are all there, even before the closing LF has arrived.
    bool hasAllData() const { return state_ == State::AfterData || state_ == State::Complete; }
    const std::string& data() const { return data_; }
    const std::string& error() const { return error_; }
    void reset();

private:
    void fail(std::string why);

    std::size_t maxLength_;
    State state_ = State::Header;
    int digitsLeft_ = 0;
    std::size_t length_ = 0;
    std::string data_;
    std::string error_;
};

} // namespace zel::visa
