#pragma once
// Texts shared by the documents and the value transforms behind them. Every
// text is formatted in place, in a buffer that travels by value: an item's
// description costs no heap allocation.

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace item_text {

// A text of at most N bytes kept in the object itself. Appends past N are cut
// at N (every caller sizes N for its longest text, so none is cut in use).
template <std::size_t N>
class Buffer {
 public:
  Buffer() = default;
  // A copy of text (cut at N bytes).
  explicit Buffer(std::string_view text) { Append(text); }

  // Appends text; returns this buffer.
  Buffer& Append(std::string_view text) {
    const std::size_t n = text.size() < N - mSize ? text.size() : N - mSize;
    for (std::size_t i = 0; i < n; ++i) mData[mSize + i] = text[i];
    mSize += n;
    return *this;
  }
  // Appends value in decimal, as "%lld" prints it; returns this buffer.
  Buffer& AppendDecimal(long long value) {
    char digits[24];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    return Append(std::string_view(digits, static_cast<std::size_t>(end.ptr - digits)));
  }

  // The text; valid while this buffer lives and is not changed.
  std::string_view View() const { return std::string_view(mData, mSize); }
  operator std::string_view() const { return View(); }

 private:
  char mData[N];
  std::size_t mSize = 0;
};

// Long enough for any single number with its unit ("%.2f" of the largest
// float is 42 characters).
using Text = Buffer<64>;

// value in decimal ("%lld").
Text Decimal(long long value);

// value with `decimals` digits after the point (0 to 9), exactly as "%.*f"
// prints it.
Text Fixed(float value, int decimals);

// value with two decimals, as "%.2f" prints it.
inline Text TwoDecimals(float value) { return Fixed(value, 2); }

// "-inf dB" when floor + 0.05 >= value (in single precision, so a value given
// as the threshold itself counts as -inf), else the value as "%.2f dB".
Text FloatDb(float value, float floor);

// "Unavailable" for a negative rate, else the rate rounded to whole kbps,
// halves up, as "%d kbps".
Text BitrateKbps(int bitsPerSecond);

// An object's position as the UI draws it: the decoder stores x, y, z from 0
// to 1; the display takes x and y from -1 to 1 with y pointing the other way,
// and z as it is.
struct DisplayPosition {
  float x;
  float y;
  float z;
};
DisplayPosition ToDisplay(float x, float y, float z);

}  // namespace item_text
