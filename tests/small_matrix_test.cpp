// The small-matrix algebra: temporaries rings, products with their factor rule, the run-time
// dispatch, the 4 x 4 difference, storage ownership and the debug printers. Expected values come
// from plain loops written here.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "render/small_matrix.h"

namespace {

using namespace vek::render;

template <int R, int C>
std::vector<float> RandomValues(uint32_t seed) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<float> value(-8.0f, 8.0f);
  std::vector<float> values(R * C);
  for (float& v : values) v = value(generator);
  return values;
}

// Row-major product accumulated left to right in single precision.
std::vector<float> PlainProduct(const std::vector<float>& a, const std::vector<float>& b, int r, int k, int c) {
  std::vector<float> out(r * c);
  for (int i = 0; i < r; ++i) {
    for (int j = 0; j < c; ++j) {
      float sum = a[i * k] * b[j];
      for (int n = 1; n < k; ++n) sum += a[i * k + n] * b[n * c + j];
      out[i * c + j] = sum;
    }
  }
  return out;
}

template <class M>
std::vector<float> Elements(const M& m) {
  return std::vector<float>(m.Data(), m.Data() + M::kRows * M::kColumns);
}

template <int R, int K, int C>
void ExpectProduct(uint32_t seed) {
  std::vector<float> a = RandomValues<R, K>(seed), b = RandomValues<K, C>(seed + 1);
  SmallMatrix<R, K> ma(a.data());
  SmallMatrix<K, C> mb(b.data());
  EXPECT_EQ(Elements(ma * mb), PlainProduct(a, b, R, K, C)) << R << "x" << K << " times " << K << "x" << C;
}

TEST(SmallMatrixProduct, FixedShapesGiveTheLeftToRightSums) {
  ExpectProduct<4, 4, 4>(1);
  ExpectProduct<4, 4, 1>(2);
  ExpectProduct<1, 3, 1>(3);
  ExpectProduct<3, 3, 3>(4);
  ExpectProduct<3, 5, 3>(5);
  ExpectProduct<5, 3, 5>(6);
  ExpectProduct<4, 1, 1>(7);  // a column scaled by a 1 x 1
  ExpectProduct<6, 1, 6>(8);
}

TEST(SmallMatrixProduct, AnInfiniteFactorMakesTheElementNaN) {
  float inf = std::numeric_limits<float>::infinity(), two = 2.0f, zero = 0.0f;
  SmallMatrix<1, 1> a(&inf), b(&two), c(&zero);
  // A plain product would give infinity for inf * 2; each factor enters as 0 * x + x.
  EXPECT_TRUE(std::isnan((a * b)(0, 0)));
  EXPECT_TRUE(std::isnan((b * a)(0, 0)));
  EXPECT_TRUE(std::isnan((c * a)(0, 0)));
  float row[3] = {1, inf, 1}, column[3] = {1, 0, 1};
  SmallMatrix<1, 3> r(row);
  SmallMatrix<3, 1> k(column);
  EXPECT_TRUE(std::isnan((r * k)(0, 0)));
  float negativeZero = -0.0f;
  SmallMatrix<1, 1> z(&negativeZero);
  EXPECT_TRUE(std::signbit((z * b)(0, 0))) << "-0 passes through the rule unchanged";
}

TEST(SmallMatrixProduct, OuterProductOfColumnAndRow) {
  std::vector<float> a = RandomValues<6, 1>(11), b = RandomValues<1, 6>(12);
  SmallMatrix<6, 1> column(a.data());
  SmallMatrix<1, 6> row(b.data());
  const auto& outer = Outer(column, row);
  for (int i = 0; i < 6; ++i) {
    for (int j = 0; j < 6; ++j) EXPECT_EQ(outer(i, j), a[i] * b[j]) << i << "," << j;
  }
  EXPECT_EQ(Outer(SmallMatrix<4, 1>(a.data()), SmallMatrix<1, 4>(b.data()))(3, 1), a[3] * b[1]);
}

TEST(TempRing, TheNinthTemporaryOfAShapeReusesTheFirst) {
  std::vector<float> values = RandomValues<3, 3>(21);
  SmallMatrix<3, 3> m(values.data());
  const auto& first = m * m;
  const float* firstSlot = first.Data();
  const float kept = first(0, 0);
  SmallMatrix<3, 3> scaled[8];
  std::vector<float> storage[8];
  for (int k = 0; k < 7; ++k) {
    storage[k] = values;
    for (float& v : storage[k]) v *= float(k + 2);
    scaled[k].Borrow(storage[k].data());
    EXPECT_NE((scaled[k] * m).Data(), firstSlot) << "temporary " << k + 2;
  }
  EXPECT_EQ(first(0, 0), kept) << "eight temporaries taken: the first is still intact";
  const auto& ninth = m * scaled[0];
  EXPECT_EQ(ninth.Data(), firstSlot);
  EXPECT_EQ(first(0, 0), ninth(0, 0)) << "a reference kept across eight more sees the newer value";
  EXPECT_NE(first(0, 0), kept);
}

TEST(TempRing, PoolTemporariesStartOn16ByteBoundaries) {
  auto aligned = [](const auto& slot) { return reinterpret_cast<uintptr_t>(slot.data) % 16 == 0; };
  for (int k = 0; k < 9; ++k) {
    EXPECT_TRUE(aligned(RingFor<1, 1>().Take()) && aligned(RingFor<1, 5>().Take()) && aligned(RingFor<3, 3>().Take()) &&
                aligned(RingFor<5, 3>().Take()) && aligned(RingFor<4, 4>().Take()) && aligned(RingFor<6, 6>().Take()))
        << "slot " << k;
  }
  const TempSlot& slot = RingFor<3, 5>().Take();
  EXPECT_EQ(slot.counts, 15u | (15u << 16)) << "element count in both halves";
  EXPECT_EQ(slot.borrowed, 1u);
}

TEST(SmallMatrixDifference, MatchesTheElementLoopWithAndWithoutOverlap) {
  std::vector<float> a = RandomValues<4, 4>(31), b = RandomValues<4, 4>(32);
  SmallMatrix<4, 4> ma(a.data()), mb(b.data());
  const auto& difference = ma - mb;
  for (int i = 0; i < 16; ++i) EXPECT_EQ(difference.Data()[i], a[i] - b[i]);

  // An operand starting one element before the result's slot: computed one by one, each element
  // reads the element the previous step wrote.
  TempRing<4, 4>& ring = RingFor<4, 4>();
  float* next = ring.slots[(ring.cursor + 1) % kRingSlots].data;
  next[-1] = 100.0f;  // padding or the last element of the storage before the slot
  for (int i = 0; i < 16; ++i) next[i] = float(i * i);
  SmallMatrix<4, 4> shifted(next - 1);
  std::vector<float> expected(16);
  for (int i = 0; i < 16; ++i) expected[i] = (i == 0 ? 100.0f : expected[i - 1]) - b[i];
  const auto& overlapped = shifted - mb;
  ASSERT_EQ(overlapped.Data(), next);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(overlapped.Data()[i], expected[i]) << i;

  // The result's own slot as an operand.
  float* again = ring.slots[(ring.cursor + 1) % kRingSlots].data;
  for (int i = 0; i < 16; ++i) again[i] = a[i];
  SmallMatrix<4, 4> same(again);
  const auto& aliased = same - mb;
  ASSERT_EQ(aliased.Data(), again);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(aliased.Data()[i], a[i] - b[i]);
}

TEST(InvSqrt, DoublePrecisionRootRoundedToFloat) {
  EXPECT_EQ(InvSqrt(4.0f), 0.5f);
  EXPECT_EQ(InvSqrt(7.0f), float(1.0 / std::sqrt(7.0)));
  EXPECT_NE(InvSqrt(7.0f), 1.0f / std::sqrt(7.0f)) << "single precision rounds 7 differently";
  EXPECT_TRUE(std::isnan(InvSqrt(-1.0f)));
  EXPECT_TRUE(std::isinf(InvSqrt(0.0f)));
}

TEST(SmallMatrixStorage, OwnershipAndRows) {
  MatrixRecord empty;
  EXPECT_EQ(empty.Row(0), nullptr);
  SmallMatrix<4, 4> none;
  EXPECT_EQ(none.Row(2), nullptr);
  EXPECT_EQ(none.rows, 0);
  EXPECT_EQ(none.ownership, 0);

  {
    SmallMatrix<3, 5> owned;
    ASSERT_TRUE(owned.Allocate());
    EXPECT_EQ(reinterpret_cast<uintptr_t>(owned.data) % 16, 0u);
    EXPECT_GE(owned.ownership, 1);
    EXPECT_LE(owned.ownership, 16);
    EXPECT_EQ(owned.Row(2), owned.data + 10);
  }  // freed here; a sanitizer build reports a wrong free

  float storage[6] = {1, 2, 3, 4, 5, 6};
  {
    SmallMatrix<3, 2> borrowed(storage);
    EXPECT_EQ(borrowed.ownership, 0);
    EXPECT_EQ(borrowed.Row(1), storage + 2);
    Fill(borrowed, 9.0f);
  }
  for (float v : storage) EXPECT_EQ(v, 9.0f) << "fill writes the matrix itself; destroying a view frees nothing";
}

// The pieces written to the debug output while `print` runs.
template <class Print> std::vector<std::string> DebugPieces(Print&& print) {
  std::vector<std::string> pieces;
  vek::platform::SetDebugSink(
      [](const char* text, void* sink) { static_cast<std::vector<std::string>*>(sink)->push_back(text); }, &pieces);
  print();
  vek::platform::SetDebugSink(nullptr, nullptr);
  return pieces;
}

TEST(SmallMatrixDynamic, RunTimeShapesUseTheKernelTable) {
  std::vector<float> a = RandomValues<4, 4>(41), b = RandomValues<4, 1>(42);
  MatrixRecord ma{a.data(), 4, 0, 4, 4}, mb{b.data(), 4, 0, 4, 1};
  float out[16] = {};
  MatrixRecord result{out, 4, 0, 4, 4};
  ASSERT_TRUE(MultiplyDynamic(ma, mb, result));
  EXPECT_EQ(result.rows, 4);
  EXPECT_EQ(result.columns, 1);
  EXPECT_EQ(std::vector<float>(out, out + 4), PlainProduct(a, b, 4, 4, 1));

  std::vector<float> c = RandomValues<3, 5>(43), d = RandomValues<5, 3>(44);
  MatrixRecord mc{c.data(), 3, 0, 3, 5}, md{d.data(), 5, 0, 5, 3};
  MatrixRecord result3{out, 4, 0, 4, 4};
  ASSERT_TRUE(MultiplyDynamic(mc, md, result3));
  EXPECT_EQ(std::vector<float>(out, out + 9), PlainProduct(c, d, 3, 5, 3));

  MatrixRecord two{a.data(), 2, 0, 2, 2}, roomy{out, 4, 0, 4, 4};
  bool multiplied = true;
  const std::vector<std::string> messages = DebugPieces([&] { multiplied = MultiplyDynamic(two, two, roomy); });
  EXPECT_FALSE(multiplied) << "size 2 has no shape class";
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_NE(messages[0].find("2 x 2"), std::string::npos) << messages[0];
  EXPECT_FALSE(MultiplyDynamic(ma, mc, roomy)) << "inner sizes differ";
  float small[2];
  MatrixRecord tooSmall{small, 1, 0, 1, 2};
  EXPECT_FALSE(MultiplyDynamic(ma, mb, tooSmall));
}

TEST(SmallMatrixPrinters, ExactPiecesOfEachFormat) {
  float one = 1.0f;
  SmallMatrix<1, 1> single(&one);
  EXPECT_EQ(DebugPieces([&] { DebugPrint(single, "m"); }), (std::vector<std::string>{"m = {\n{", "  1.000000000}}\n"}));

  float values[6] = {1.5f, -2.0f, 0.25f, 3.0f, 4.0f, -0.125f};
  const MatrixRecord twoByThree{values, 2, 0, 2, 3}, empty;
  EXPECT_EQ(DebugPieces([&] { DebugPrint(twoByThree); }),
            (std::vector<std::string>{"\t{\n{", "  1.500000000, ", " -2.000000000, ", "  0.250000000},\n{",
                                      "  3.000000000, ", "  4.000000000, ", " -0.125000000}}\n"}));
  EXPECT_EQ(DebugPieces([&] { DebugPrint(empty, "e"); }), (std::vector<std::string>{"e = {\n{"}));

  const float m3[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const std::vector<std::string> three = DebugPieces([&] { DebugPrint3x3(m3, "mat3", nullptr); });
  ASSERT_EQ(three.size(), 10u);
  EXPECT_EQ(three[0], "mat3  = {\n{");
  EXPECT_EQ(three[1], "1.000000, ");
  EXPECT_EQ(three[3], "3.000000},\n{");
  EXPECT_EQ(three[9], "9.000000}};\n");

  const float m4[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
  const std::vector<std::string> four = DebugPieces([&] { DebugPrint4x4(m4, "mat4", "view"); });
  ASSERT_EQ(four.size(), 17u);
  EXPECT_EQ(four[0], "mat4 view ={{\n");
  EXPECT_EQ(four[4], "0.000000},\n{");
  EXPECT_EQ(four[12], "0.000000},\n{");
  EXPECT_EQ(four[13], "5.000000, ");
  EXPECT_EQ(four[16], "1.000000}};\n");
}

}  // namespace
