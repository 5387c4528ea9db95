#pragma once
// Classification of a log's points by the shape of their light: k-means over one feature vector a point
// (its channel shares, or its channel decay times), started from centres the analyst names: a depth range
// of the log known to hold a product, or a vector given outright. Seeding by the analyst keeps the classes'
// names and order meaningful and the result repeatable; k-means then moves each centre to the mean of the
// points nearest it until no point changes class.
//
// Class file "<name>.lif.class.txt": 8-bit text, tab-separated, lines ending CR LF:
//   "Classes" <name 1> .. <name k>                 the classes in their seed order
//   "Feature" "shares" | "tau"                      what the points were compared by
//   "Centre" <name> <v1> .. <vd>                    one line a class: its final centre
//   "Depth" "Class" "Distance"                      the table's header
//   <depth> <class name, empty when unclassified> <distance to its centre, empty when unclassified>

#include "analysis/waveform_fits.h"
#include "log/log_arrays.h"

#include <optional>
#include <string>
#include <vector>

namespace zel::analysis {

enum class ClassFeature { Shares, Tau };

// One point's features; empty when the point has none (no light, a channel not fitted).
using FeatureRows = std::vector<std::vector<double>>;

// Each point's channel shares (its channel areas over their sum, 0..1) for the channels the log holds; a
// point whose %RE is below floorPct, or whose areas do not add up to more than 0, has none.
FeatureRows shareFeatures(const LogArrays& arrays, int channels, double floorPct = 0.0);
// Each point's decay times (ns) from rows of one channel each (LogArrays::tau, lifetimeRows); a point with
// a channel not fitted (NaN), or below floorPct %RE, has none.
FeatureRows tauFeatures(const LogArrays& arrays, const std::vector<std::vector<float>>& tauRows,
                        double floorPct = 0.0);

struct ClassSeed {
    std::string name;
    // Either a depth range of the log (its points' mean feature is the start) ...
    std::optional<std::pair<double, double>> range;
    // ... or the start given outright (as many values as the features have).
    std::vector<double> centre;
};

// "NAME:FROM-TO" or "NAME=V1,V2,..." as the command line gives a seed; nullopt with error set otherwise.
std::optional<ClassSeed> parseSeed(const std::string& text, std::string& error);

struct Classification {
    ClassFeature feature = ClassFeature::Shares;
    std::vector<std::string> names;
    std::vector<std::vector<double>> centres; // one a class
    std::vector<float> depth;                 // one a point
    std::vector<int> pointClass;              // index into names; -1 unclassified
    std::vector<double> distance;             // to its class's centre; 0 when unclassified
    int iterations = 0;
};

// k-means from the seeds' centres over the points that have features. depth gives each point's depth (for
// range seeds). nullopt with error set when a seed has no point with features in its range, a given centre
// has the wrong length, two seeds share a name, or no point has features.
std::optional<Classification> classify(const FeatureRows& features, const std::vector<float>& depth,
                                       const std::vector<ClassSeed>& seeds, ClassFeature feature,
                                       std::string& error, int maxIterations = 100);

std::string classText(const Classification& c);
// The class file read back; nullopt with error set when it is not one.
std::optional<Classification> parseClassText(const std::string& text, std::string& error);

// Each point's class as a log's column; nullopt when the file is not of this log's points.
std::optional<std::vector<int>> classColumn(const Classification& c, const PointMatrix& columns);

// "<folder>/<name>.lif.class.txt" beside a raw log "<name>.lif.raw.bin".
std::string classPath(const std::string& rawLogPath);

} // namespace zel::analysis
