#pragma once
// The bulk data of the log held beside cZEL_Data: the waveform matrix, the per-point tables, and the log's
// RE, background and baseline. All point arrays are sized and cut together, so point n means the same depth
// step in every one of them.

#include "log/point_matrix.h"
#include "log/waveform_matrix.h"
#include "waveform/waveform_record.h"

#include <array>
#include <span>
#include <string>
#include <vector>

namespace zel {

// Columns of the per-point table: those named by the raw log's lists, and those the push fills from each
// waveform (%RE, S, F, channel areas), which the raw log does not keep and loading recomputes from the
// stored waveforms into the same columns.
namespace point_column {
inline constexpr int Depth = 0;
inline constexpr int O2 = 1;     // O2 mode
inline constexpr int Signal = 2; // %RE (not one of the raw log's lists)
inline constexpr int Rate = 3;
inline constexpr int Conductivity = 4; // column 7 in the Birch mode
inline constexpr int Scatter = 5;      // S of the point
inline constexpr int Fluorescence = 6; // F of the point
inline constexpr int ConductivityBirch = 7;
inline constexpr int Ch1 = 8;        // CH1..CH4 areas in 8..11
inline constexpr int RateMark = 12;  // the push's rate-exceeded mark
inline constexpr int PushCount = 13; // columns a push writes
} // namespace point_column

namespace hammer_column {
inline constexpr int BlowCount = 1;
} // namespace hammer_column

namespace presflow_column {
inline constexpr int Depth = 0; // in the log's unit
inline constexpr int Time = 1;
inline constexpr int PressureUp = 2;
inline constexpr int PressureDown = 3; // PSI
inline constexpr int FlowUp = 4;       // mL/min
inline constexpr int KEstimate = 5;
} // namespace presflow_column

inline constexpr int kHammerColumns = 3;
inline constexpr int kCounterColumns = 1;
inline constexpr int kPresFlowColumns = 6;

// One depth step as acquisition or recovery appends it.
struct PointValues {
    std::span<const float> wave;    // samplesPerWave() samples, mV
    std::span<const float> columns; // one value per per-point column
    std::array<float, kHammerColumns> hammer{};
    float counter = 0.0f;
    std::array<float, kPresFlowColumns> presFlow{}; // taken only when the log carries pressure/flow
};

struct LogArrays {
    WaveformMatrix waves;
    PointMatrix columns{kMaxDataColumns};   // (column, point), Data_Cols columns
    PointMatrix hammer{kHammerColumns};     // (column, point)
    PointMatrix counter{kCounterColumns};   // one value a point
    PointMatrix presFlow{kPresFlowColumns}; // (column, point); empty when the log has no pressure/flow
    Waveform re;
    Waveform blank;
    std::vector<float> baseline;
    // The NNLS result column of a loaded log whose basis fit lies beside it: one value a point (the share, %,
    // of the basis that explains most of the log), and the track's title naming that basis. Empty otherwise.
    std::vector<float> nnls;
    std::string nnlsTitle;
    // The decay times of a loaded log whose lifetime fit lies beside it: one row a channel, one value a
    // point (ns; NaN where the channel was not fitted). Empty otherwise.
    std::vector<std::vector<float>> tau;
    // The class of each point of a loaded log whose classification lies beside it (an index into
    // classNames; -1 for a point left unclassified). Empty otherwise.
    std::vector<int> pointClass;
    std::vector<std::string> classNames;

    // Forgets the fits read beside a log (NNLS, decay times, classes): they belong to its points only.
    void clearFits();

    // Number of points held (all point arrays agree).
    int points() const { return waves.points(); }

    // Empties every point array and reserves room for a full push. On any refusal nothing is left reserved.
    ArrayStatus beginPush(int samplesPerWave, int dataColumns, bool withPresFlow);
    // Sizes every point array for a loaded log of points points, all values 0 (the waveforms unset with
    // zeroWaves false, for a reader that fills them all from the file).
    ArrayStatus resize(int samplesPerWave, int dataColumns, int points, bool withPresFlow,
                       bool zeroWaves = true);
    // Appends one point to every array, all or nothing.
    ArrayStatus appendPoint(const PointValues& point);
    // Cuts every point array to points points, keeping their contents.
    ArrayStatus truncate(int points);
    // Drops all data, the RE, background and baseline included.
    void clear();
};

} // namespace zel
