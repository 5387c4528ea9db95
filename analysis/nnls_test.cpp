#include "analysis/nnls.h"

#include <gtest/gtest.h>

#include <random>

namespace zel::analysis {
namespace {

TEST(Nnls, HandSolvedSystems) {
    // Unconstrained solution already non-negative: x = (1, 2).
    Eigen::MatrixXd A(3, 2);
    A << 1, 0, 0, 1, 1, 1;
    Eigen::VectorXd b(3);
    b << 1, 2, 3;
    auto r = nnls(A, b);
    EXPECT_NEAR(r.x(0), 1.0, 1e-12);
    EXPECT_NEAR(r.x(1), 2.0, 1e-12);
    EXPECT_NEAR(r.residualNorm, 0.0, 1e-12);

    // The unconstrained solution (2, -1) is infeasible; with x2 = 0 the best x1 is (1*2 + 1*1)/(1+1) = 1.5.
    A.resize(2, 2);
    A << 1, 1, 1, 2;
    b.resize(2);
    b << 1, 0;
    r = nnls(A, b);
    EXPECT_NEAR(r.x(0), 0.5, 1e-12);
    EXPECT_EQ(r.x(1), 0.0);

    // Everything points the wrong way: x = 0.
    b << -1, -2;
    r = nnls(A, b);
    EXPECT_EQ(r.x.norm(), 0.0);
    EXPECT_NEAR(r.residualNorm, b.norm(), 1e-12);
}

// On random problems the solution meets the Kuhn-Tucker conditions: x >= 0, the gradient w = A'(b - Ax) is
// <= 0 everywhere and 0 where x > 0.
TEST(Nnls, KuhnTuckerConditionsOnRandomProblems) {
    std::mt19937 rng(11);
    std::normal_distribution<double> g;
    for (int trial = 0; trial < 200; ++trial) {
        const int m = 5 + trial % 40, n = 1 + trial % 8;
        Eigen::MatrixXd A(m, n);
        Eigen::VectorXd b(m);
        for (int i = 0; i < m; ++i) {
            b(i) = g(rng);
            for (int j = 0; j < n; ++j)
                A(i, j) = g(rng);
        }
        const auto r = nnls(A, b);
        ASSERT_TRUE(r.converged) << trial;
        const Eigen::VectorXd w = A.transpose() * (b - A * r.x);
        const double scale = 1e-9 * (1 + A.norm() * b.norm());
        for (int j = 0; j < n; ++j) {
            EXPECT_GE(r.x(j), 0.0) << trial;
            EXPECT_LE(w(j), scale) << trial;
            if (r.x(j) > 0) {
                EXPECT_NEAR(w(j), 0.0, scale) << trial;
            }
        }
    }
}

TEST(Nnls, MixturesOfNonNegativeBasesComeBack) {
    // Three overlapping decays as columns, mixed 2 : 0 : 0.5.
    Eigen::MatrixXd A(60, 3);
    for (int i = 0; i < 60; ++i)
        for (int j = 0; j < 3; ++j)
            A(i, j) = std::exp(-i / (3.0 + 5.0 * j));
    const Eigen::Vector3d truth(2.0, 0.0, 0.5);
    const auto r = nnls(A, A * truth);
    EXPECT_NEAR((r.x - truth).norm(), 0.0, 1e-8);
}

} // namespace
} // namespace zel::analysis
