#pragma once
// Instruments for the acquisition tests: waveforms served by source name, every call recorded.

#include "acquisition/instruments.h"

#include <map>
#include <string>
#include <vector>

namespace zel::acq::testing {

class FakeScope : public Scope {
public:
    std::map<std::string, Waveform, std::less<>> waves; // by source; a missing source fails
    int status = 1;
    double delay = 0.0;
    std::vector<std::string> calls;

    void ReadSetup() override { calls.push_back("setup"); }
    bool Acquire(std::string_view source, Waveform& wave) override {
        calls.push_back("acquire " + std::string(source));
        const auto it = waves.find(source);
        if (it == waves.end()) return false;
        wave = it->second;
        return true;
    }
    void StoreReference(std::string_view source, std::string_view memory) override {
        calls.push_back("store " + std::string(source) + " " + std::string(memory));
    }
    int Status() override { return status; }
    double Delay() override { return delay; }
    void SetDelay(double seconds) override {
        delay = seconds;
        calls.push_back("delay");
    }
    void StartPush() override { calls.push_back("start"); }
    void StopPush() override { calls.push_back("stop"); }
};

class FakeBoard : public Board {
public:
    bool inUse = false;
    FirmwareVersion firmware{2, 1, 4};
    int referenceStates = 0;
    bool InUse() const override { return inUse; }
    void EnterReferenceState() override { ++referenceStates; }
    FirmwareVersion Firmware() override { return firmware; }
};

class FakeDepthStatus : public DepthSource {
public:
    bool good = true;
    bool StatusGood() override { return good; }
};

} // namespace zel::acq::testing
