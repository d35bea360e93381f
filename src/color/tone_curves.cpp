#include "color/tone_curves.h"

#include <initializer_list>

namespace vek::colour {
namespace {

// Knot values are quadratics in the parameter, written term by term in the order the curves were
// fitted in, so that every platform rounds them the same way.
int Fill(SplineKnots& knots, std::initializer_list<double> xs, std::initializer_list<double> ys) {
  int n = 0;
  for (double x : xs) knots.x[n++] = x;
  n = 0;
  for (double y : ys) knots.y[n++] = y;
  return n;
}

}  // namespace

int BrightnessKnots(double b, SplineKnots& knots) noexcept {
  const double b2 = b * b;
  if (b > 0) {
    return Fill(knots, {0, 32, 64, 96, 128, 160, 192, 220, 255},
                {0, 0.0023 * b2 + 0.2666 * b + 32.321, 0.0042 * b2 + 0.5662 * b + 63.964,
                 0.0009 * b2 + 1.1236 * b + 94.714, 1.4511 * b - 0.0031 * b2 + 127.07,
                 1.4941 * b - 0.006 * b2 + 160.39, 1.2166 * b - 0.0063 * b2 + 193.75,
                 0.7818 * b - 0.0047 * b2 + 221.93, 255});
  }
  return Fill(knots, {0, 32, 64, 96, 128, 160, 192, 220, 237, 242, 250, 254, 255},
              {0, 0.0008 * b2 + 0.2805 * b + 31.75, 0.0019 * b2 + 0.5761 * b + 63.929,
               0.0027 * b2 + 0.8566 * b + 95.679, 0.0036 * b2 + 1.1329 * b + 127.71,
               0.0041 * b2 + 1.3734 * b + 159.61, 0.0029 * b2 + 1.4202 * b + 191.54,
               0.0002 * b2 + 1.2236 * b + 219.86, 0.8273 * b - 0.0032 * b2 + 236.82,
               0.6395 * b - 0.0044 * b2 + 241.68, 0.1421 * b - 0.007 * b2 + 249.14,
               -0.0055 * b2 - 0.1691 * b + 252.68, 255});
}

int ContrastKnots(double c, SplineKnots& knots) noexcept {
  const double c2 = c * c;
  return Fill(knots, {0, 32, 64, 96, 128, 160, 192, 224, 255},
              {0, -0.0004 * c2 - 0.1359 * c + 31.098, -0.0005 * c2 - 0.1814 * c + 62.606,
               -0.0004 * c2 - 0.1341 * c + 95.119, 128, 0.1373 * c + 0.0004 * c2 + 160.8,
               0.0005 * c2 + 0.1814 * c + 193.39, 0.0004 * c2 + 0.1341 * c + 224.88, 255});
}

int ExposureKnots(double e, SplineKnots& knots) noexcept {
  const double e2 = e * e;
  if (e > 0) {
    return Fill(knots, {0, 20, 40, 60, 80, 100, 120, 140, 160, 180, 200, 220, 255},
                {0, 1.3571 * e2 + 4.8714 * e + 19.914, 1.6429 * e2 + 10.129 * e + 40.086,
                 1.9286 * e2 + 13.786 * e + 60.057, 1.0714 * e2 + 20.214 * e + 79.543,
                 26.157 * e - 0.2143 * e2 + 99.371, 29.343 * e - 1.2857 * e2 + 119.63,
                 30.186 * e - 2.0714 * e2 + 139.66, 27.943 * e - 2.2857 * e2 + 159.83,
                 25.5 * e - 2.5 * e2 + 180.0, 21.314 * e - 2.4286 * e2 + 200.34,
                 14.843 * e - 1.7857 * e2 + 220.63, 255});
  }
  // Kept on purpose: the last knot is not (255, 255) here; at e = 0 it lies above 255 and the
  // evaluation clips it, while at e = -4 it pulls white down to about 65.
  return Fill(knots, {0, 20, 40, 60, 80, 100, 120, 140, 160, 180, 200, 220, 240, 255},
              {0, 1.0714 * e2 + 8.9857 * e + 19.943, 2.1429 * e2 + 17.571 * e + 39.486,
               3.3571 * e2 + 26.729 * e + 59.114, 4.1429 * e2 + 33.971 * e + 79.286,
               4.9286 * e2 + 41.414 * e + 99.457, 5.3571 * e2 + 47.529 * e + 119.71,
               5.9286 * e2 + 53.814 * e + 139.66, 6.0714 * e2 + 58.586 * e + 159.54,
               6.0 * e2 + 62.2 * e + 180.0, 5.2857 * e2 + 62.943 * e + 200.77,
               4.0 * e2 + 61.2 * e + 222.2, 1.7143 * e2 + 54.657 * e + 244.03,
               43.471 * e - 1.3571 * e2 + 260.29});
}

int32_t TruncateToInt32(double value) noexcept {
  // NaN fails both comparisons.
  if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
  return int32_t(value);
}

void BuildCurveTable(SplineKnots& knots, int n, int32_t table[kLevels]) noexcept {
  double* x = knots.x;
  double* y = knots.y;
  double* d = knots.slope;
  // Slopes of the unclipped knots; the last knot repeats the slope before it.
  for (int i = 0; i + 1 < n; ++i) d[i] = (y[i + 1] - y[i]) / (x[i + 1] - x[i]);
  d[n - 1] = d[n - 2];
  for (int i = 0; i < n; ++i) {
    if (y[i] > 255) y[i] = 255;
  }
  for (int level = 0; level < kLevels; ++level) {
    const double v = level;
    int k = 0;
    while (k < n && x[k] <= v) ++k;
    double result;
    if (k >= n) {
      result = y[n - 1];
    } else if (k == 0) {
      result = 0;
    } else {
      // A rational quadratic on [x_i, x_k] that is monotone whenever its end values are.
      const int i = k - 1;
      const double h = x[k] - x[i], delta = y[k] - y[i], s = delta / h;
      if (delta == 0) {
        result = y[i];
      } else {
        const double t = (v - x[i]) / h, u = 1 - t;
        result = y[i] + delta * (u * t * d[i] + s * t * t) / ((d[i] + d[k] - 2 * s) * t * u + s);
      }
    }
    const int32_t entry = TruncateToInt32(result + 0.5);
    table[level] = entry < 0 ? 0 : entry > 255 ? 255 : entry;
  }
}

void ComposeInto(int32_t map[kLevels], const int32_t table[kLevels], int32_t& composed) noexcept {
  for (int v = 0; v < kLevels; ++v) map[v] = composed == 0 ? table[v] : table[map[v]];
  ++composed;
}

}  // namespace vek::colour
