#include "analysis/nnls.h"

#include <limits>
#include <vector>

namespace zel::analysis {

namespace {

// The least-squares solution over the free columns only (the others held at 0).
Eigen::VectorXd solveFree(const Eigen::MatrixXd& A, const Eigen::VectorXd& b, const std::vector<bool>& free) {
    std::vector<Eigen::Index> cols;
    for (Eigen::Index j = 0; j < A.cols(); ++j)
        if (free[static_cast<std::size_t>(j)]) cols.push_back(j);
    Eigen::VectorXd z = Eigen::VectorXd::Zero(A.cols());
    if (cols.empty()) return z;
    Eigen::MatrixXd Af(A.rows(), static_cast<Eigen::Index>(cols.size()));
    for (std::size_t i = 0; i < cols.size(); ++i)
        Af.col(static_cast<Eigen::Index>(i)) = A.col(cols[i]);
    const Eigen::VectorXd zf = Af.colPivHouseholderQr().solve(b);
    for (std::size_t i = 0; i < cols.size(); ++i)
        z(cols[i]) = zf(static_cast<Eigen::Index>(i));
    return z;
}

} // namespace

NnlsResult nnls(const Eigen::MatrixXd& A, const Eigen::VectorXd& b, int maxIterations) {
    const Eigen::Index n = A.cols();
    NnlsResult r;
    r.x = Eigen::VectorXd::Zero(n);
    if (n == 0 || A.rows() != b.size()) {
        r.residualNorm = b.norm();
        return r;
    }
    if (maxIterations <= 0) maxIterations = static_cast<int>(3 * n + 10);
    std::vector<bool> free(static_cast<std::size_t>(n), false);
    // Tolerance on the gradient, scaled to the problem so that rounding never frees a variable forever.
    const double tol = 10 * std::numeric_limits<double>::epsilon() * A.norm() * std::max(1.0, b.norm()) *
                       static_cast<double>(std::max(A.rows(), n));
    Eigen::VectorXd& x = r.x;
    for (;;) {
        const Eigen::VectorXd w = A.transpose() * (b - A * x);
        Eigen::Index best = -1;
        double most = tol;
        for (Eigen::Index j = 0; j < n; ++j)
            if (!free[static_cast<std::size_t>(j)] && w(j) > most) most = w(j), best = j;
        if (best < 0) break; // the Kuhn-Tucker conditions hold
        if (r.iterations >= maxIterations) {
            r.converged = false;
            break;
        }
        ++r.iterations;
        free[static_cast<std::size_t>(best)] = true;
        for (;;) {
            const Eigen::VectorXd z = solveFree(A, b, free);
            bool feasible = true;
            for (Eigen::Index j = 0; j < n; ++j)
                if (free[static_cast<std::size_t>(j)] && z(j) <= 0) feasible = false;
            if (feasible) {
                x = z;
                break;
            }
            // Step from x towards z as far as every free variable stays non-negative.
            double alpha = 1.0;
            for (Eigen::Index j = 0; j < n; ++j)
                if (free[static_cast<std::size_t>(j)] && z(j) <= 0) {
                    const double denom = x(j) - z(j);
                    if (denom > 0) alpha = std::min(alpha, x(j) / denom);
                }
            x += alpha * (z - x);
            for (Eigen::Index j = 0; j < n; ++j)
                if (free[static_cast<std::size_t>(j)] && x(j) <= tol) {
                    free[static_cast<std::size_t>(j)] = false;
                    x(j) = 0;
                }
        }
    }
    r.residualNorm = (A * x - b).norm();
    return r;
}

} // namespace zel::analysis
