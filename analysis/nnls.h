#pragma once
// Non-negative least squares (Lawson and Hanson's active-set method): x >= 0 minimising |A x - b|. Each
// pass frees the constrained variable whose gradient most wants to grow, solves the free variables'
// unconstrained problem by a rank-revealing QR, and steps back towards the last feasible point when that
// solution leaves the feasible set. The basis sets here are small (a handful of waveforms), so the direct
// method is fast and exact to rounding.

#include <Eigen/Dense>

namespace zel::analysis {

struct NnlsResult {
    Eigen::VectorXd x;
    double residualNorm = 0.0; // |A x - b|
    int iterations = 0;
    bool converged = true; // false when the iteration limit was met (x is still feasible)
};

NnlsResult nnls(const Eigen::MatrixXd& A, const Eigen::VectorXd& b, int maxIterations = 0);

} // namespace zel::analysis
