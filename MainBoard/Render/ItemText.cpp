#include "ItemText.h"

#include <cstdint>

#include "Catalogue.h"

namespace item_text {

Text Decimal(long long value) { return Text().AppendDecimal(value); }

Text Fixed(float value, int decimals) {
  // Fixed notation with a precision gives printf's digits and rounding; the
  // largest float with nine decimals takes 49 characters.
  char digits[64];
  const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits,
                                                 static_cast<double>(value), std::chars_format::fixed,
                                                 decimals);
  return Text(std::string_view(digits, static_cast<std::size_t>(end.ptr - digits)));
}

Text FloatDb(float value, float floor) {
  if (floor + 0.05f >= value) return Text(catalogue::text::MinusInfDb);
  Text text = TwoDecimals(value);
  text.Append(" ").Append(catalogue::text::UnitDb);
  return text;
}

Text BitrateKbps(int bitsPerSecond) {
  if (bitsPerSecond < 0) return Text(catalogue::text::Unavailable);
  // Widened so that rates near INT_MAX round without overflowing.
  const int64_t kbps = (static_cast<int64_t>(bitsPerSecond) + 500) / 1000;
  return Decimal(static_cast<int>(kbps)).Append(" ").Append(catalogue::text::UnitKbps);
}

DisplayPosition ToDisplay(float x, float y, float z) { return {2.0f * x - 1.0f, 1.0f - 2.0f * y, z}; }

}  // namespace item_text
