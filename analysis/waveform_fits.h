#pragma once
// A log's waveforms fitted as a whole: every point's channel decay times (the log's lifetime file,
// "<name>.lif.tau.txt") and every point's fit to a library of basis waveforms (the log's NNLS file,
// "<name>.lif.nnls.txt"). The basis library keeps the averaged waveforms of known products, each
// normalised by the RE of the log it came from, so waveforms of logs with different REs compare.
//
// Lifetime file: tab-separated text, one line a point after a header line
//   "Depth" "Tau1".."TauN" (ns) "Rms1".."RmsN" (mV), a weak channel's fields left empty.
// NNLS file: tab-separated text, one line a point after a header line
//   "Depth" <basis names> "Generic" "Residual": each basis's share of the point's signal, the share no
//   basis explains (at least 0) and the relative misfit |A x - b| / |b|.
// Basis library: 8-bit text, first line "ZEL basis library 1", then one basis a line:
//   name TAB source log TAB depth from TAB depth to TAB RE area (pVs) TAB time step (s) TAB samples
//   (comma-separated, mV per 1000 pVs of RE area).

#include "analysis/lifetime.h"
#include "analysis/nnls.h"
#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"

#include <optional>
#include <string>
#include <vector>

namespace zel::analysis {

// The sample index of every channel boundary of the log: its three stored boundaries, or for a seven-channel
// log the RE's boundary search run again.
std::vector<int> logBoundaries(const cZEL_Data& log, const LogArrays& arrays, int channels, Host& host);

// The RE less the background, the instrument response of every channel.
std::vector<float> logResponse(const LogArrays& arrays);

struct LogLifetimes {
    int channels = 0;
    std::vector<float> depth;
    std::vector<std::vector<LifetimeFit>> points; // points x channels
};

LogLifetimes fitLogLifetimes(const cZEL_Data& log, const LogArrays& arrays, int channels,
                             const LifetimeSettings& settings, Host& host);

// Any waveform of the log (a point's, or a callout's average) fitted channel by channel as the log's points
// are: against the log's RE, between its boundaries, one fit a channel (weak where not fitted).
class LifetimeFitter {
public:
    LifetimeFitter(const cZEL_Data& log, const LogArrays& arrays, int channels,
                   const LifetimeSettings& settings, Host& host);
    int channels() const { return channels_; }
    std::vector<LifetimeFit> fit(std::span<const float> wave) const;

private:
    std::vector<int> boundaries_;
    std::vector<float> response_;
    double dtNs_ = 0;
    int channels_ = 0;
    LifetimeSettings settings_;
};
std::string lifetimeText(const LogLifetimes& fits);
// The lifetime file read back; nullopt with error set when it is not one.
std::optional<LogLifetimes> parseLifetimeText(const std::string& text, std::string& error);

struct BasisWaveform {
    std::string name;
    std::string source; // the log it was taken from
    float fromDepth = 0, toDepth = 0;
    float reArea = 0;
    float deltaX = 0;
    std::vector<float> samples; // mV per 1000 pVs of RE area
};

struct BasisLibrary {
    std::vector<BasisWaveform> bases;
    const BasisWaveform* find(const std::string& name) const;
};

std::string basisLibraryText(const BasisLibrary& library);
std::optional<BasisLibrary> parseBasisLibrary(const std::string& text, std::string& error);

// The log's points between two depths averaged and normalised by its RE; nullopt with error set when the
// range holds no point or the log has no RE.
std::optional<BasisWaveform> basisFromLog(const cZEL_Data& log, const LogArrays& arrays,
                                          const std::string& name, float fromDepth, float toDepth,
                                          std::string& error);

struct LogNnls {
    std::vector<std::string> names;
    std::vector<float> depth;
    std::vector<std::vector<float>> shares; // points x bases
    std::vector<float> generic, residual;
};

struct NnlsPoint {
    std::vector<float> shares; // one a basis
    float generic = 0, residual = 0;
};

// Any waveform of the log (a point's, or a callout's average) fitted to the bases as the log's points are.
class NnlsFitter {
public:
    // nullopt with error set when a basis does not match the log's sampling or the log has no RE area.
    static std::optional<NnlsFitter> make(const cZEL_Data& log, const LogArrays& arrays,
                                          const std::vector<const BasisWaveform*>& bases, std::string& error);
    const std::vector<std::string>& names() const { return names_; }
    // wave: samplesPerWave() samples of the log, mV.
    NnlsPoint fit(std::span<const float> wave) const;

private:
    NnlsFitter() = default;
    Eigen::MatrixXd A_;
    std::vector<double> basisArea_;
    std::vector<std::string> names_;
    double scale_ = 1.0;
};

// Every point fitted to the bases; nullopt with error set when a basis does not match the log's sampling.
std::optional<LogNnls> fitLogNnls(const cZEL_Data& log, const LogArrays& arrays,
                                  const std::vector<const BasisWaveform*>& bases, std::string& error);
std::string nnlsText(const LogNnls& fits);
std::optional<LogNnls> parseNnlsText(const std::string& text, std::string& error);

// The NNLS result column of a log: the share (%) at each point of the basis whose shares add up to the most
// over the log, and its name; nullopt when the fits are not of this log's points (count or depths differ).
struct NnlsColumn {
    std::string basis;
    std::vector<float> sharePct;
};
std::optional<NnlsColumn> nnlsColumn(const LogNnls& fits, const PointMatrix& columns);

// The decay times of a lifetime file as a log's rows (one a channel, one value a point, ns, NaN where the
// channel was not fitted); nullopt when the fits are not of this log's points (count or depths differ).
std::optional<std::vector<std::vector<float>>> lifetimeRows(const LogLifetimes& fits,
                                                            const PointMatrix& columns);

// True when a file's depths (printed with three decimals) are those of the log's points, one for one.
bool sameDepths(const std::vector<float>& depths, const PointMatrix& columns);

// "<folder>/<name>.lif.tau.txt" and ".lif.nnls.txt" beside a raw log "<name>.lif.raw.bin".
std::string lifetimePath(const std::string& rawLogPath);
std::string nnlsPath(const std::string& rawLogPath);

} // namespace zel::analysis
