#include "samples/maker/entropy.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace loftbay::maker {

std::optional<ValueTable> makeTable(std::span<const std::int32_t> values, std::size_t max_entries,
                                    std::size_t max_distinct) {
  std::unordered_map<std::int32_t, std::uint32_t> counts;
  for (const auto value : values) {
    if (++counts[value] == 1 && counts.size() > max_distinct) return std::nullopt;
  }
  std::vector<TableEntry> all;
  all.reserve(counts.size());
  for (const auto& [value, count] : counts) all.push_back({value, count, false});
  std::sort(all.begin(), all.end(), [](const TableEntry& a, const TableEntry& b) {
    return a.occurrences != b.occurrences ? a.occurrences > b.occurrences : a.value < b.value;
  });

  ValueTable table;
  // A value that occurs once is cheaper out of band than in the table, unless the table has room and no
  // other value needs the escape.
  std::size_t kept = std::min(all.size(), max_entries);
  if (all.size() > 16 || all.size() > max_entries) {
    while (kept > 1 && all[kept - 1].occurrences == 1) --kept;
  }
  table.entries.assign(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(kept));
  std::uint32_t escaped = 0;
  for (std::size_t i = kept; i < all.size(); ++i) escaped += all[i].occurrences;
  if (escaped > 0) table.entries.push_back({0, escaped, true});

  std::unordered_map<std::int32_t, std::uint32_t> index;
  std::int32_t maximum = 0;
  for (std::uint32_t i = 0; i < table.entries.size(); ++i) {
    const auto& entry = table.entries[i];
    if (entry.escape) continue;
    index.emplace(entry.value, i);
    table.minimum = i == 0 ? entry.value : std::min(table.minimum, entry.value);
    maximum = i == 0 ? entry.value : std::max(maximum, entry.value);
  }
  table.value_span = static_cast<std::uint32_t>(maximum) - static_cast<std::uint32_t>(table.minimum);
  const auto escape = static_cast<std::uint32_t>(table.entries.size() - 1);
  table.entry_of.reserve(values.size());
  for (const auto value : values) {
    const auto found = index.find(value);
    table.entry_of.push_back(found == index.end() ? escape : found->second);
    if (found == index.end()) table.out_of_band.push_back(value);
  }

  double bits = 0;
  for (const auto& entry : table.entries) {
    bits -= entry.occurrences * std::log2(double(entry.occurrences) / double(values.size()));
  }
  table.estimated_bits = bits + 32.0 * double(table.out_of_band.size()) + 40.0 * double(table.entries.size());

  const std::size_t limit = kMaxTotal - table.entries.size();
  if (values.size() > limit) {
    for (auto& entry : table.entries) {
      entry.occurrences =
          std::max(1U, static_cast<std::uint32_t>(std::uint64_t{entry.occurrences} * limit / values.size()));
    }
  }
  for (const auto& entry : table.entries) table.total += entry.occurrences;
  return table;
}

void ArithmeticEncoder::encode(std::uint32_t cumulative, std::uint32_t occurrences, std::uint32_t total) {
  const std::uint32_t range = high_ - low_ + 1;
  high_ = low_ + range * (cumulative + occurrences) / total - 1;
  low_ = low_ + range * cumulative / total;
  for (;;) {
    if (((low_ ^ high_) & 0x8000U) == 0) {
      emit((high_ & 0x8000U) != 0);
    } else if ((low_ & 0x4000U) != 0 && (high_ & 0x4000U) == 0) {
      ++pending_;
      ++straddles_;
      low_ &= 0x3fffU;
      high_ |= 0x4000U;
    } else {
      return;
    }
    low_ = low_ << 1 & 0xffffU;
    high_ = (high_ << 1 & 0xffffU) | 1U;
  }
}

void ArithmeticEncoder::emit(bool bit) {
  bits_.put(bit);
  for (; pending_ > 0; --pending_) bits_.put(!bit);
}

void ArithmeticEncoder::end() {
  ++pending_;
  emit((low_ & 0x4000U) != 0);
}

void ArithmeticEncoder::finish() {
  end();
  bits_.put(0, 16);
}

}  // namespace loftbay::maker
