#include "render/trig.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace vek::render {
namespace {

// Minimax polynomials of sin and cos on [-pi/4, pi/4] (the classic fdlibm coefficients).
constexpr double kS1 = -1.66666666666666324348e-01, kS2 = 8.33333333332248946124e-03, kS3 = -1.98412698298579493134e-04,
                 kS4 = 2.75573137070700676789e-06, kS5 = -2.50507602534068634195e-08, kS6 = 1.58969099521155010221e-10;
constexpr double kC1 = 4.16666666666666019037e-02, kC2 = -1.38888888888741095749e-03, kC3 = 2.48015872894767294178e-05,
                 kC4 = -2.75573143513906633035e-07, kC5 = 2.08757232129817482790e-09, kC6 = -1.13596475577881948265e-11;

// pi / 2 in three parts of 33 bits each, with the tails, for a reduction without cancellation.
constexpr double kInvPio2 = 6.36619772367581382433e-01;
constexpr double kPio2_1 = 1.57079632673412561417e+00;
constexpr double kPio2_2 = 6.07710050630396597660e-11, kPio2_2t = 2.02226624879595063154e-21;

// sin(x + y) for |x| <= pi/4, y the tail of the reduced argument.
double KernelSin(double x, double y) {
  const double z = x * x, v = z * x;
  const double r = kS2 + z * (kS3 + z * (kS4 + z * (kS5 + z * kS6)));
  return x - ((z * (0.5 * y - v * r) - y) - v * kS1);
}

// cos(x + y) for |x| <= pi/4.
double KernelCos(double x, double y) {
  const double z = x * x;
  const double r = z * (kC1 + z * (kC2 + z * (kC3 + z * (kC4 + z * (kC5 + z * kC6)))));
  const double ax = std::fabs(x);
  if (ax < 0.3) return 1.0 - (0.5 * z - (z * r - x * y));
  // 1 - x^2 / 2 split at qx so that 1 - qx is exact: qx is |x| / 4 with its low word cleared.
  double qx;
  if (ax > 0.78125) {
    qx = 0.28125;
  } else {
    uint64_t bits;
    const double quarter = ax * 0.25;
    std::memcpy(&bits, &quarter, sizeof bits);
    bits &= 0xFFFFFFFF00000000ull;
    std::memcpy(&qx, &bits, sizeof qx);
  }
  const double hz = 0.5 * z - qx, a = 1.0 - qx;
  return a - (hz - (z * r - x * y));
}

// x = n * pi / 2 + (y0 + y1) with |y0| <= pi / 4; returns n mod 4.
int Reduce(double x, double& y0, double& y1) {
  const double n = std::floor(x * kInvPio2 + 0.5);
  const double t = x - n * kPio2_1;
  double w = n * kPio2_2;
  const double r = t - w;
  w = n * kPio2_2t - ((t - r) - w);
  y0 = r - w;
  y1 = (r - y0) - w;
  return int(int64_t(std::fmod(n, 4.0)) & 3);
}

}  // namespace

double Sin(double x) noexcept {
  if (!std::isfinite(x)) return x - x;
  const double ax = std::fabs(x);
  double result;
  if (ax <= 0.7853981633974483) {
    result = KernelSin(ax, 0.0);
  } else {
    double y0, y1;
    switch (Reduce(ax, y0, y1)) {
      case 0:
        result = KernelSin(y0, y1);
        break;
      case 1:
        result = KernelCos(y0, y1);
        break;
      case 2:
        result = -KernelSin(y0, y1);
        break;
      default:
        result = -KernelCos(y0, y1);
        break;
    }
  }
  return x < 0 ? -result : result;
}

double Cos(double x) noexcept {
  if (!std::isfinite(x)) return x - x;
  const double ax = std::fabs(x);
  if (ax <= 0.7853981633974483) return KernelCos(ax, 0.0);
  double y0, y1;
  switch (Reduce(ax, y0, y1)) {
    case 0:
      return KernelCos(y0, y1);
    case 1:
      return -KernelSin(y0, y1);
    case 2:
      return -KernelCos(y0, y1);
    default:
      return KernelSin(y0, y1);
  }
}

}  // namespace vek::render
