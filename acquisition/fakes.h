#pragma once
// Instruments for the acquisition tests: waveforms served by source name, every call recorded.

#include "acquisition/instruments.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
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
    void SetVerticalScale(float mV) override {
        calls.push_back("scale " + std::to_string(static_cast<int>(mV)));
    }
    void StartPush() override { calls.push_back("start"); }
    void StopPush() override { calls.push_back("stop"); }
};

class FakeBoard : public Board {
public:
    bool inUse = false;
    FirmwareVersion firmware{2, 1, 4};
    int referenceStates = 0;
    bool digitiser = false;
    int mask = 4095;
    std::optional<HdBoardValues> record; // what every trigger reads
    std::optional<HdChannels> channels;  // what the reference state reads
    bool InUse() const override { return inUse; }
    bool Digitiser() const override { return digitiser; }
    int PushMask() const override { return mask; }
    std::optional<HdBoardValues> LastRecord() override { return record; }
    std::optional<HdChannels> ReadChannels() override { return channels; }
    void EnterReferenceState() override { ++referenceStates; }
    FirmwareVersion Firmware() override { return firmware; }
    int pushes = 0, stops = 0, triggers = 0;
    std::array<float, 2> aux{1.5f, 2.5f};
    void StartPush() override { ++pushes; }
    void StopPush() override { ++stops; }
    void WaitTrigger() override { ++triggers; }
    std::array<float, 2> AuxValues() override { return aux; }
};

class FakeDepthStatus : public DepthSource {
public:
    bool good = true;
    bool StatusGood() override { return good; }
};

} // namespace zel::acq::testing

namespace zel::acq::testing {

// A depth source that walks through a script of readings, one per Read(); the push ends after the last.
class FakePushDepth : public PushDepth {
public:
    std::vector<float> script;
    std::vector<float> rates; // per reading; 0 when shorter
    std::vector<float> steps; // stored step per reading (stepped read-back); 0 when shorter
    int mode = 1;
    float stopDepth = 1e9f;
    bool good = true;
    int reads = 0, pauses = 0, resumes = 0, emulationStops = 0;
    double ratePerMinute = 0.0;
    std::optional<float> resetTo;

    bool StatusGood() override { return good; }
    void Reset(std::optional<float> startDepth) override { resetTo = startDepth; }
    void Read() override { ++reads; }
    float Current() override { return script.empty() ? 0.0f : script[index()]; }
    float Rate() override { return index() < rates.size() ? rates[index()] : 0.0f; }
    float Conductivity() override { return 12.5f; }
    int Mode() override { return mode; }
    float StoredStep() override { return index() < steps.size() ? steps[index()] : 0.0f; }
    // The first Read() comes from the start sequence and sees the first reading too; pass k of the loop
    // sees reading k - 1.
    bool EndOfPush() override { return reads - 1 > static_cast<int>(script.size()); }
    void Pause() override { ++pauses; }
    void Resume() override { ++resumes; }
    float StopDepth() override { return stopDepth; }
    void SetRatePerMinute(double rate) override { ratePerMinute = rate; }
    void StopEmulation() override { ++emulationStops; }

private:
    std::size_t index() const { return std::min<std::size_t>(reads > 1 ? reads - 2 : 0, script.size() - 1); }
};

// A pressure/flow unit whose clock moves on 0.2 s a reading: injecting at a fixed pressure and flow, and
// with the flow off settling exponentially to `staticPsi`.
class FakePresFlow : public PresFlowUnit {
public:
    bool inUse = true;
    bool answering = true;
    float dynamicPsi = 40.0f, flow = 300.0f, staticPsi = 24.0f, tauS = 2.0f;
    std::vector<std::string> calls;

    bool InUse() const override { return inUse; }
    void StartPush() override { calls.push_back("start"); }
    void StopPush() override { calls.push_back("stop"); }
    std::optional<PresFlowReading> Current() override {
        if (!answering) return std::nullopt;
        time_ += 0.2f;
        if (flowOn_) return PresFlowReading{time_, dynamicPsi - 5.0f, dynamicPsi, flow};
        const float since = time_ - offAt_;
        return PresFlowReading{time_, 0.0f, staticPsi + (dynamicPsi - staticPsi) * std::exp(-since / tauS),
                               0.0f};
    }
    double AveragePresDown() override { return dynamicPsi; }
    void SetFlow(bool on) override {
        calls.push_back(on ? "flow on" : "flow off");
        if (!on && flowOn_) offAt_ = time_;
        flowOn_ = on;
    }

private:
    float time_ = 0.0f;
    float offAt_ = 0.0f;
    bool flowOn_ = true;
};

class FakeGps : public Gps {
public:
    Position Current() override { return {49.5, -123.25, true}; }
};

class FakeDisplay : public FieldDisplay {
public:
    std::vector<std::string> shown;
    void ShowText(std::string_view text) override { shown.emplace_back(text); }
    void ShowPoint(float, float) override {}
    void ShowPause(bool paused) override { shown.emplace_back(paused ? "paused" : "resumed"); }
};

} // namespace zel::acq::testing
