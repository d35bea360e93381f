// Fixed-size single-precision matrices for the renderer's geometry. Products and differences are
// evaluated eagerly into temporaries taken from a ring of eight per result shape, so no arithmetic
// allocates; a result stays valid until eight more temporaries of its shape have been taken.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vek::render {

// The record every matrix shares. Storage is row-major: element (r, c) is data[r * columns + c].
struct MatrixRecord {
  float* data = nullptr;
  int16_t storageRows = 0;
  // 0: the storage is borrowed. k > 0: the record owns heap storage whose data pointer was advanced
  // k - 1 bytes from the allocation to reach 16-byte alignment.
  uint16_t ownership = 0;
  int16_t rows = 0;
  int16_t columns = 0;

  // No bounds check; null when the record has no storage.
  float* Row(int i) const noexcept { return data ? data + columns * i : nullptr; }
};

// Owns aligned heap storage for rows x columns floats; false (and nothing owned) when memory runs out.
bool AllocateStorage(MatrixRecord& record, int rows, int columns) noexcept;
// Frees owned storage and leaves the record borrowed; borrowed storage is left alone.
void ReleaseStorage(MatrixRecord& record) noexcept;

// A matrix whose shape is part of its type. Default-constructed it is empty (no storage, 0 x 0);
// Allocate() gives it storage of its own, Borrow() a view of someone else's.
template <int R, int C>
class SmallMatrix : public MatrixRecord {
 public:
  static constexpr int kRows = R;
  static constexpr int kColumns = C;

  SmallMatrix() noexcept = default;
  explicit SmallMatrix(float* borrowed) noexcept { Borrow(borrowed); }
  ~SmallMatrix() { ReleaseStorage(*this); }
  SmallMatrix(const SmallMatrix&) = delete;
  SmallMatrix& operator=(const SmallMatrix&) = delete;

  bool Allocate() noexcept { return AllocateStorage(*this, R, C); }
  void Borrow(float* storage) noexcept {
    ReleaseStorage(*this);
    data = storage;
    storageRows = storage ? R : 0;
    rows = storage ? R : 0;
    columns = storage ? C : 0;
  }

  float* Data() noexcept { return data; }
  const float* Data() const noexcept { return data; }
  float& operator()(int r, int c) noexcept { return data[r * C + c]; }
  float operator()(int r, int c) const noexcept { return data[r * C + c]; }

  // Copies the elements of any matrix of this shape (a temporary, typically) into this one.
  template <class M>
  SmallMatrix& operator=(const M& other) noexcept {
    static_assert(M::kRows == R && M::kColumns == C, "shapes differ");
    const float* source = other.Data();
    if (data != source) {
      for (int i = 0; i < R * C; ++i) data[i] = source[i];
    }
    return *this;
  }
};

// One slot of a ring of temporaries: its storage, the element count in both 16-bit halves, and 1
// (the storage is borrowed from the pool, never freed).
struct TempSlot {
  float* data;
  uint32_t counts;
  uint32_t borrowed;
};

// A slot seen with its shape.
template <int R, int C>
struct Temp : TempSlot {
  static constexpr int kRows = R;
  static constexpr int kColumns = C;
  float* Data() noexcept { return data; }
  const float* Data() const noexcept { return data; }
  float operator()(int r, int c) const noexcept { return data[r * C + c]; }
  float* Row(int i) const noexcept { return data ? data + C * i : nullptr; }
};

// Shapes up to 16 elements of these counts live in the static pool; larger ones own heap storage
// allocated at start-up.
constexpr bool PoolShape(int rows, int columns) {
  const int n = rows * columns;
  return n == 1 || n == 3 || n == 4 || n == 5 || n == 6 || n == 9 || n == 15 || n == 16;
}
constexpr bool HasRing(int rows, int columns) {
  constexpr int kShapes[][2] = {{1, 1}, {1, 3}, {3, 1}, {1, 4}, {4, 1}, {1, 5}, {5, 1}, {1, 6}, {6, 1},
                                {3, 3}, {3, 5}, {5, 3}, {4, 4}, {3, 4}, {4, 3}, {4, 6}, {5, 5}, {6, 6}};
  for (const auto& shape : kShapes) {
    if (shape[0] == rows && shape[1] == columns) return true;
  }
  return false;
}
inline constexpr int kRingCount = 18;
inline constexpr int kRingSlots = 8;

// Anything with a fixed shape and its elements: matrices, temporaries.
template <class M>
concept Shaped = requires(const M& m) {
  M::kRows;
  M::kColumns;
  { m.Data() } -> std::convertible_to<const float*>;
};

template <int R, int C>
using Result = std::conditional_t<PoolShape(R, C), Temp<R, C>, SmallMatrix<R, C>>;

template <int R, int C>
struct TempRing {
  Result<R, C> slots[kRingSlots];
  int cursor;  // the slot last taken
  // The cursor starts one before slot 0, so the first temporary is slot 0 and the ninth slot 0 again.
  Result<R, C>& Take() noexcept {
    if (cursor == kRingSlots - 1) cursor -= kRingSlots;
    return slots[++cursor];
  }
};

// The process-wide ring of a shape. Rings have no lock: expressions are evaluated on one thread.
template <int R, int C>
TempRing<R, C>& RingFor() noexcept;

namespace detail {
// Kept on purpose: each factor enters a product as (0 * x + x), so that an infinite or NaN factor
// turns the element into NaN; results depend on it bit for bit. The volatile zero keeps the
// compiler from folding the term away.
inline float Factor(float x) noexcept {
  static volatile const float zero = 0.0f;
  return zero * x + x;
}
}  // namespace detail

// (R x K) times (K x C), unrolled by the compiler for the fixed sizes.
template <Shaped A, Shaped B>
auto& operator*(const A& a, const B& b) noexcept {
  static_assert(A::kColumns == B::kRows, "inner sizes differ");
  constexpr int R = A::kRows, K = A::kColumns, C = B::kColumns;
  static_assert(HasRing(R, C), "no temporaries ring for this result shape");
  auto& result = RingFor<R, C>().Take();
  const float* x = a.Data();
  const float* y = b.Data();
  float out[R * C];
  for (int r = 0; r < R; ++r) {
    for (int c = 0; c < C; ++c) {
      float sum = detail::Factor(x[r * K]) * detail::Factor(y[c]);
      for (int k = 1; k < K; ++k) sum += detail::Factor(x[r * K + k]) * detail::Factor(y[k * C + c]);
      out[r * C + c] = sum;
    }
  }
  for (int i = 0; i < R * C; ++i) result.data[i] = out[i];
  return result;
}

// An n-column times an n-row: element (i, j) = a[i] * b[j].
template <Shaped A, Shaped B>
auto& Outer(const A& column, const B& row) noexcept {
  static_assert(A::kColumns == 1 && B::kRows == 1 && A::kRows == B::kColumns, "needs an n-column and an n-row");
  constexpr int N = A::kRows;
  static_assert(HasRing(N, N), "no temporaries ring for this result shape");
  auto& result = RingFor<N, N>().Take();
  float out[N * N];
  for (int i = 0; i < N; ++i) {
    for (int j = 0; j < N; ++j) out[i * N + j] = detail::Factor(column.Data()[i]) * detail::Factor(row.Data()[j]);
  }
  for (int i = 0; i < N * N; ++i) result.data[i] = out[i];
  return result;
}

// The element-wise difference of two 4 x 4 matrices. When the result slot overlaps an operand the
// elements are computed one by one in index order, each reading what the previous ones left.
Temp<4, 4>& Difference(const float* a, const float* b) noexcept;
template <Shaped A, Shaped B>
Temp<4, 4>& operator-(const A& a, const B& b) noexcept {
  static_assert(A::kRows == 4 && A::kColumns == 4 && B::kRows == 4 && B::kColumns == 4, "4 x 4 only");
  return Difference(a.Data(), b.Data());
}

// Sets every element of the matrix itself and returns it.
template <Shaped M>
M& Fill(M& matrix, float value) noexcept {
  for (int i = 0; i < M::kRows * M::kColumns; ++i) matrix.Data()[i] = value;
  return matrix;
}

// 1 / sqrt(x) with the root and the division in double precision, rounded to float; NaN below 0.
float InvSqrt(float x) noexcept;

// A product of two records whose shapes are known only at run time, through the table of
// fixed-size kernels; the result's rows and columns are set from the operands and its elements
// copied row by row. False (with a debug message) when the inner sizes differ, a size has no shape
// class, or the result has too little storage.
bool MultiplyDynamic(const MatrixRecord& a, const MatrixRecord& b, MatrixRecord& result) noexcept;

// Debugging aids, written through the debug output one formatted piece at a time.
void DebugPrint(const MatrixRecord& matrix, const char* name = nullptr) noexcept;
void DebugPrint3x3(const float* elements, const char* type, const char* name) noexcept;
void DebugPrint4x4(const float* elements, const char* type, const char* name) noexcept;

}  // namespace vek::render
