// Sine and cosine in double precision computed here rather than by the C library, whose results
// may differ in the last bit between platforms; the renderer's bytes must not.
#pragma once

namespace vek::render {

// Accurate to about one unit in the last place for |x| below 2^20 * pi / 2; larger arguments lose
// precision in the reduction. Not a number for infinities and NaN.
double Sin(double x) noexcept;
double Cos(double x) noexcept;

constexpr double kPi = 3.14159265358979323846;

}  // namespace vek::render
