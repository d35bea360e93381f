#include "render/small_matrix.h"

#include <emmintrin.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"

namespace vek::render {

bool AllocateStorage(MatrixRecord& record, int rows, int columns) noexcept {
  ReleaseStorage(record);
  record = MatrixRecord{};
  auto* block = static_cast<uint8_t*>(std::malloc(std::size_t(rows) * columns * sizeof(float) + 15));
  if (!block) return false;
  const std::size_t advance = (16 - reinterpret_cast<uintptr_t>(block) % 16) % 16;
  record.data = reinterpret_cast<float*>(block + advance);
  record.ownership = uint16_t(advance + 1);
  record.storageRows = int16_t(rows);
  record.rows = int16_t(rows);
  record.columns = int16_t(columns);
  return true;
}

void ReleaseStorage(MatrixRecord& record) noexcept {
  if (record.ownership == 0) return;
  std::free(reinterpret_cast<uint8_t*>(record.data) - (record.ownership - 1));
  record.data = nullptr;
  record.ownership = 0;
}

namespace {

// The pool for the shapes of up to 16 elements: each slot takes its element count rounded up to
// four floats, so every temporary starts on a 16-byte boundary.
constexpr int PoolFloats(int rows, int columns) {
  return (rows * columns + 3) / 4 * 4;
}
constexpr int kPoolFloats =
    kRingSlots * (PoolFloats(1, 1) + 2 * PoolFloats(1, 3) + 2 * PoolFloats(1, 4) + 2 * PoolFloats(1, 5) +
                  2 * PoolFloats(1, 6) + PoolFloats(3, 3) + 2 * PoolFloats(3, 5) + PoolFloats(4, 4));
float gPool[kPoolFloats + 3];
int gPoolUsed = 0;

float* PoolBase() {
  const uintptr_t address = reinterpret_cast<uintptr_t>(gPool);
  return gPool + ((16 - address % 16) % 16) / sizeof(float);
}

// Constant-initialised, so that no ring is initialised after the carving below.
template <int R, int C>
constinit TempRing<R, C> gRing{};

template <int R, int C>
void CarveRing() {
  TempRing<R, C>& ring = gRing<R, C>;
  for (auto& slot : ring.slots) {
    if constexpr (PoolShape(R, C)) {
      slot.data = PoolBase() + gPoolUsed;
      slot.counts = uint32_t(R * C) | (uint32_t(R * C) << 16);
      slot.borrowed = 1;
      gPoolUsed += PoolFloats(R, C);
    } else if (!slot.Allocate()) {
      // Start-up cannot report a failure; an empty slot would crash the first product of its
      // shape, so the process stops here with a reason.
      platform::DebugOutput("vek_dsp: no memory for the matrix temporaries\n");
      std::abort();
    }
  }
  ring.cursor = -1;
}

[[maybe_unused]] const bool kRingsCarved = [] {
  CarveRing<1, 1>();
  CarveRing<1, 3>();
  CarveRing<3, 1>();
  CarveRing<1, 4>();
  CarveRing<4, 1>();
  CarveRing<1, 5>();
  CarveRing<5, 1>();
  CarveRing<1, 6>();
  CarveRing<6, 1>();
  CarveRing<3, 3>();
  CarveRing<3, 5>();
  CarveRing<5, 3>();
  CarveRing<4, 4>();
  CarveRing<3, 4>();
  CarveRing<4, 3>();
  CarveRing<4, 6>();
  CarveRing<5, 5>();
  CarveRing<6, 6>();
  return true;
}();

// Shape classes of the run-time dispatch: sizes 1, 3, 4, 5, 6 are classes 0, 2, 3, 4, 5.
constexpr int kClasses = 7;
int ShapeClass(int size) {
  return size == 1 || (size >= 3 && size <= 6) ? size - 1 : -1;
}

// A kernel of a fixed result shape; the inner size comes from the operands.
using DynamicKernel = const float* (*)(const MatrixRecord& a, const MatrixRecord& b);

template <int R, int C>
const float* DynamicProduct(const MatrixRecord& a, const MatrixRecord& b) {
  auto& result = gRing<R, C>.Take();
  const int k = a.columns;
  float out[R * C];
  for (int r = 0; r < R; ++r) {
    for (int c = 0; c < C; ++c) {
      float sum = detail::Factor(a.data[r * k]) * detail::Factor(b.data[c]);
      for (int i = 1; i < k; ++i) sum += detail::Factor(a.data[r * k + i]) * detail::Factor(b.data[i * C + c]);
      out[r * C + c] = sum;
    }
  }
  std::memcpy(result.data, out, sizeof out);
  return result.data;
}

const float* NoKernel(const MatrixRecord& a, const MatrixRecord& b) {
  char text[96];
  std::snprintf(text, sizeof text, "SmallMatrix: no product kernel for %d x %d times %d x %d\n", a.rows, a.columns,
                b.rows, b.columns);
  platform::DebugOutput(text);
  return nullptr;
}

template <int R, int C>
constexpr void Enter(DynamicKernel (&table)[kClasses * kClasses]) {
  table[(R - 1) * kClasses + (C - 1)] = &DynamicProduct<R, C>;
}

constexpr auto kKernels = [] {
  struct Table {
    DynamicKernel entries[kClasses * kClasses];
  } table{};
  for (DynamicKernel& entry : table.entries) entry = &NoKernel;
  Enter<1, 1>(table.entries), Enter<1, 3>(table.entries), Enter<3, 1>(table.entries), Enter<1, 4>(table.entries);
  Enter<4, 1>(table.entries), Enter<1, 5>(table.entries), Enter<5, 1>(table.entries), Enter<1, 6>(table.entries);
  Enter<6, 1>(table.entries), Enter<3, 3>(table.entries), Enter<3, 5>(table.entries), Enter<5, 3>(table.entries);
  Enter<4, 4>(table.entries), Enter<3, 4>(table.entries), Enter<4, 3>(table.entries), Enter<4, 6>(table.entries);
  Enter<5, 5>(table.entries), Enter<6, 6>(table.entries);
  return table;
}();

void Piece(char* buffer, std::size_t size, const char* format, const char* a, const char* b = nullptr) {
  std::snprintf(buffer, size, format, a, b);
  platform::DebugOutput(buffer);
}

void PrintFixed(const float* elements, int rows, const char* header, const char* last, const char* type,
                const char* name) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, header, type ? type : "", name ? name : "");
  platform::DebugOutput(buffer);
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < rows; ++c) {
      const char* separator = c + 1 < rows ? ", " : r + 1 < rows ? "},\n{" : last;
      std::snprintf(buffer, sizeof buffer, "%f%s", double(elements[r * rows + c]), separator);
      platform::DebugOutput(buffer);
    }
  }
}

}  // namespace

template <int R, int C>
TempRing<R, C>& RingFor() noexcept {
  return gRing<R, C>;
}
template TempRing<1, 1>& RingFor<1, 1>() noexcept;
template TempRing<1, 3>& RingFor<1, 3>() noexcept;
template TempRing<3, 1>& RingFor<3, 1>() noexcept;
template TempRing<1, 4>& RingFor<1, 4>() noexcept;
template TempRing<4, 1>& RingFor<4, 1>() noexcept;
template TempRing<1, 5>& RingFor<1, 5>() noexcept;
template TempRing<5, 1>& RingFor<5, 1>() noexcept;
template TempRing<1, 6>& RingFor<1, 6>() noexcept;
template TempRing<6, 1>& RingFor<6, 1>() noexcept;
template TempRing<3, 3>& RingFor<3, 3>() noexcept;
template TempRing<3, 5>& RingFor<3, 5>() noexcept;
template TempRing<5, 3>& RingFor<5, 3>() noexcept;
template TempRing<4, 4>& RingFor<4, 4>() noexcept;
template TempRing<3, 4>& RingFor<3, 4>() noexcept;
template TempRing<4, 3>& RingFor<4, 3>() noexcept;
template TempRing<4, 6>& RingFor<4, 6>() noexcept;
template TempRing<5, 5>& RingFor<5, 5>() noexcept;
template TempRing<6, 6>& RingFor<6, 6>() noexcept;

Temp<4, 4>& Difference(const float* a, const float* b) noexcept {
  Temp<4, 4>& result = gRing<4, 4>.Take();
  float* out = result.data;
  auto overlaps = [out](const float* operand) { return operand < out + 16 && out < operand + 16; };
  if (!overlaps(a) && !overlaps(b)) {
    for (int i = 0; i < 16; i += 4) _mm_store_ps(out + i, _mm_sub_ps(_mm_loadu_ps(a + i), _mm_loadu_ps(b + i)));
  } else {
    for (int i = 0; i < 16; ++i) out[i] = a[i] - b[i];
  }
  return result;
}

float InvSqrt(float x) noexcept {
  return float(1.0 / std::sqrt(double(x)));
}

bool MultiplyDynamic(const MatrixRecord& a, const MatrixRecord& b, MatrixRecord& result) noexcept {
  if (a.columns != b.rows || !a.data || !b.data) return NoKernel(a, b) != nullptr;
  if (!result.data || result.storageRows < a.rows || result.columns < b.columns) {
    platform::DebugOutput("SmallMatrix: the product's result has too little storage\n");
    return false;
  }
  const int rowClass = ShapeClass(a.rows), columnClass = ShapeClass(b.columns);
  const DynamicKernel kernel =
      rowClass < 0 || columnClass < 0 ? &NoKernel : kKernels.entries[rowClass * kClasses + columnClass];
  const float* product = kernel(a, b);
  if (!product) return false;
  result.rows = a.rows;
  result.columns = b.columns;
  for (int r = 0; r < result.rows; ++r) {
    std::memcpy(result.Row(r), product + r * result.columns, sizeof(float) * std::size_t(result.columns));
  }
  return true;
}

void DebugPrint(const MatrixRecord& matrix, const char* name) noexcept {
  char buffer[200];
  if (name) {
    Piece(buffer, sizeof buffer, "%s = {\n{", name);
  } else {
    Piece(buffer, sizeof buffer, "\t{\n{", nullptr);
  }
  for (int r = 0; r < matrix.rows; ++r) {
    const float* row = matrix.Row(r);
    for (int c = 0; c < matrix.columns; ++c) {
      const char* separator = c + 1 < matrix.columns ? ", " : r + 1 < matrix.rows ? "},\n{" : "}}\n";
      std::snprintf(buffer, sizeof buffer, "%13.9f%s", double(row[c]), separator);
      platform::DebugOutput(buffer);
    }
  }
}

void DebugPrint3x3(const float* elements, const char* type, const char* name) noexcept {
  PrintFixed(elements, 3, "%s %s = {\n{", "}};\n", type, name);
}

// Kept on purpose: this header has no space before its braces, unlike the 3 x 3 one.
void DebugPrint4x4(const float* elements, const char* type, const char* name) noexcept {
  PrintFixed(elements, 4, "%s %s ={{\n", "}};\n", type, name);
}

}  // namespace vek::render
