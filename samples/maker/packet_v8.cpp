// The packet of 8.x:
//   0 null        I32 count, the values
//   1 bit length  I32 bits, I32 count, I32 words, code text
//   2 Huffman, 3 arithmetic: one or two tables, I32 number of escaped values and a packet of them (if any),
//                 I32 bits, I32 count, (two tables: I32 symbols), I32 words, code text
#include <algorithm>
#include <limits>

#include "samples/maker/entropy.h"
#include "samples/maker/packet.h"

namespace loftbay::maker {
namespace {

unsigned evenWidth(std::int32_t value) { return (signedBitsFor(value) + 1) & ~1U; }

// A width that moves in steps of 2: bit 0 keeps it; bit 1, then one bit per step (1 wider, 0 narrower), then
// the opposite bit changes it; the value follows.
BitWriter bitLength(std::span<const std::int32_t> values) {
  constexpr std::size_t kLookAhead = 8;
  BitWriter bits;
  unsigned width = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    unsigned wanted = evenWidth(values[i]);
    if (wanted < width) {  // narrower only where that saves more than changing there and back costs
      const std::size_t end = std::min(values.size(), i + kLookAhead);
      for (std::size_t k = i; k < end; ++k) wanted = std::max(wanted, std::min(width, evenWidth(values[k])));
      if ((width - wanted) * (end - i) < (width - wanted) + 4) wanted = width;
    }
    if (wanted == width) {
      bits.put(false);
    } else {
      const bool wider = wanted > width;
      bits.put(true);
      for (; width != wanted; width = wider ? width + 2 : width - 2) bits.put(wider);
      bits.put(!wider);
    }
    bits.put(bitsOf(values[i]), width);
  }
  return bits;
}

void writeWords(ByteWriter& out, const BitWriter& bits) {
  out.i32(static_cast<std::int64_t>(bits.words().size()));
  for (const auto word : bits.words()) out.u32(word);
}

void writeBitLength(ByteWriter& out, std::span<const std::int32_t> values) {
  const BitWriter bits = bitLength(values);
  out.u8(1);
  out.i32(static_cast<std::int64_t>(bits.bitCount()));
  out.i32(static_cast<std::int64_t>(values.size()));
  writeWords(out, bits);
}

struct Node {
  std::uint32_t count = 0;
  int left = -1;
  int right = -1;
};

// The heap. The order in which it takes equal counts decides the shape of the tree, so it is part of the
// format.
class Heap {
 public:
  explicit Heap(const std::vector<Node>& nodes) : nodes_(nodes) {}
  [[nodiscard]] std::size_t size() const { return items_.size(); }
  void add(int node) {
    items_.push_back(node);
    std::size_t i = items_.size() - 1;
    while (i > 0 && count(node) < count(items_[(i - 1) / 2])) {
      items_[i] = items_[(i - 1) / 2];
      i = (i - 1) / 2;
    }
    items_[i] = node;
  }
  int pop() {
    const int top = items_.front();
    const int last = items_.back();
    items_.pop_back();
    const std::size_t n = items_.size();
    if (n == 0) return top;
    std::size_t i = 0;
    while (i < n / 2) {
      std::size_t child = 2 * i + 1;
      if (child + 1 < n && count(items_[child]) > count(items_[child + 1])) ++child;
      if (count(last) < count(items_[child])) break;
      items_[i] = items_[child];
      i = child;
    }
    items_[i] = last;
    return top;
  }

 private:
  [[nodiscard]] std::uint32_t count(int node) const { return nodes_[static_cast<std::size_t>(node)].count; }
  const std::vector<Node>& nodes_;
  std::vector<int> items_;
};

// The code of each table entry: 1 goes left, 0 goes right.
std::vector<std::vector<bool>> huffmanCodes(const ValueTable& table) {
  std::vector<Node> nodes;
  nodes.reserve(2 * table.entries.size());
  Heap heap(nodes);
  for (const auto& entry : table.entries) {
    nodes.push_back({entry.occurrences, -1, -1});
    heap.add(static_cast<int>(nodes.size() - 1));
  }
  while (heap.size() > 1) {
    const int a = heap.pop();
    const int b = heap.pop();
    nodes.push_back(
        {nodes[static_cast<std::size_t>(a)].count + nodes[static_cast<std::size_t>(b)].count, a, b});
    heap.add(static_cast<int>(nodes.size() - 1));
  }
  std::vector<std::vector<bool>> codes(nodes.size());
  for (std::size_t i = nodes.size(); i-- > table.entries.size();) {  // parents come after their children
    for (const bool left : {true, false}) {
      const auto child = static_cast<std::size_t>(left ? nodes[i].left : nodes[i].right);
      codes[child] = codes[i];
      codes[child].push_back(left);
    }
  }
  codes.resize(table.entries.size());
  return codes;
}

// One entry of a table as it is stored.
struct StoredEntry {
  std::uint32_t symbol = 0;  // plus 2; 0 = escape
  std::uint32_t occurrences = 0;
  std::uint32_t value = 0;  // minus the minimum; table 0 only
  std::uint32_t next = 0;   // context
};

void putTable(BitWriter& bits, const std::vector<StoredEntry>& entries, const std::int32_t* minimum,
              unsigned next_bits) {
  unsigned symbol_bits = 0;
  unsigned occurrence_bits = 0;
  unsigned value_bits = 0;
  for (const auto& e : entries) {
    symbol_bits = std::max(symbol_bits, bitsFor(e.symbol));
    occurrence_bits = std::max(occurrence_bits, bitsFor(e.occurrences));
    value_bits = std::max(value_bits, bitsFor(e.value));
  }
  bits.put(static_cast<std::uint32_t>(entries.size()), 32);
  bits.put(symbol_bits, 6);
  bits.put(occurrence_bits, 6);
  if (minimum != nullptr) bits.put(value_bits, 6);
  bits.put(next_bits, 6);
  if (minimum != nullptr) bits.put(bitsOf(*minimum), 32);
  for (const auto& e : entries) {
    bits.put(e.symbol, symbol_bits);
    bits.put(e.occurrences, occurrence_bits);
    if (minimum != nullptr) bits.put(e.value, value_bits);
    bits.put(e.next, next_bits);
  }
}

std::vector<StoredEntry> storedEntries(const ValueTable& table) {
  std::vector<StoredEntry> out;
  std::uint32_t symbol = 0;
  for (const auto& entry : table.entries) {
    out.push_back({entry.escape ? 0 : symbol++ + 2, entry.occurrences,
                   entry.escape ? 0 : bitsOf(entry.value) - bitsOf(table.minimum), 0});
  }
  return out;
}

void putEscaped(ByteWriter& out, const std::vector<std::int32_t>& values) {
  out.i32(static_cast<std::int64_t>(values.size()));
  if (!values.empty()) writeBitLength(out, values);
}

void writeHuffman(ByteWriter& out, const ValueTable& table) {
  out.u8(2);
  out.u8(1);
  BitWriter head;
  putTable(head, storedEntries(table), &table.minimum, 0);
  head.writeBytes(out);
  putEscaped(out, table.out_of_band);
  const auto codes = huffmanCodes(table);
  BitWriter bits;
  for (const auto entry : table.entry_of) {
    for (const bool bit : codes[entry]) bits.put(bit);
  }
  out.i32(static_cast<std::int64_t>(bits.bitCount()));
  out.i32(static_cast<std::int64_t>(table.entry_of.size()));
  writeWords(out, bits);
}

// Sum of the occurrences before each entry, and the total behind the last.
std::vector<std::uint32_t> cumulated(const std::vector<StoredEntry>& entries) {
  std::vector<std::uint32_t> sums(entries.size() + 1, 0);
  for (std::size_t i = 0; i < entries.size(); ++i) sums[i + 1] = sums[i] + entries[i].occurrences;
  return sums;
}

void writeArithmetic(ByteWriter& out, const ValueTable& table) {
  const auto entries = storedEntries(table);
  out.u8(3);
  out.u8(1);
  BitWriter head;
  putTable(head, entries, &table.minimum, 0);
  head.writeBytes(out);
  putEscaped(out, table.out_of_band);
  ArithmeticEncoder encoder;
  const auto sums = cumulated(entries);
  for (const auto e : table.entry_of) encoder.encode(sums[e], entries[e].occurrences, sums.back());
  encoder.finish();
  out.i32(static_cast<std::int64_t>(encoder.bits().bitCount()));
  out.i32(static_cast<std::int64_t>(table.entry_of.size()));
  writeWords(out, encoder.bits());
}

// The most frequent value leads to a second context, which knows only this value and an escape that leads
// back without giving a value.
void writeTwoContexts(ByteWriter& out, const ValueTable& table) {
  struct Step {
    std::uint32_t context;
    std::uint32_t entry;
  };
  constexpr std::uint32_t kFavourite = 0;  // tables begin with the most frequent value
  auto first = storedEntries(table);
  for (auto& e : first) e.occurrences = 0;
  first[kFavourite].next = 1;
  std::vector<StoredEntry> second = {{first[kFavourite].symbol, 0, 0, 1}, {0, 0, 0, 0}};
  std::vector<Step> steps;
  std::uint32_t context = 0;
  for (const auto entry : table.entry_of) {
    if (context == 1 && entry != kFavourite) {
      steps.push_back({1, 1});
      context = 0;
    }
    steps.push_back({context, context == 1 ? 0 : entry});
    context = entry == kFavourite ? 1 : 0;
  }
  for (const auto& step : steps) ++(step.context == 0 ? first : second)[step.entry].occurrences;
  for (auto* entries : {&first, &second}) {
    std::uint64_t total = 0;
    for (const auto& e : *entries) total += e.occurrences;
    const std::uint64_t limit = kMaxTotal - entries->size();
    for (auto& e : *entries) {
      if (total > limit) e.occurrences = static_cast<std::uint32_t>(e.occurrences * limit / total);
      e.occurrences = std::max(1U, e.occurrences);
    }
  }

  out.u8(3);
  out.u8(2);
  BitWriter head;
  putTable(head, first, &table.minimum, 1);
  putTable(head, second, nullptr, 1);
  head.writeBytes(out);
  putEscaped(out, table.out_of_band);
  ArithmeticEncoder encoder;
  const std::vector<std::uint32_t> sums[2] = {cumulated(first), cumulated(second)};
  for (const auto& step : steps) {
    const auto& s = sums[step.context];
    encoder.encode(s[step.entry], s[step.entry + 1] - s[step.entry], s.back());
  }
  encoder.finish();
  out.i32(static_cast<std::int64_t>(encoder.bits().bitCount()));
  out.i32(static_cast<std::int64_t>(table.entry_of.size()));
  out.i32(static_cast<std::int64_t>(steps.size()));
  writeWords(out, encoder.bits());
}

void writeBest(ByteWriter& out, std::span<const std::int32_t> values) {
  ByteWriter plain(out.bigEndian());
  writeBitLength(plain, values);
  const auto table = makeTable(values, 256, 2048);
  if (!table || table->estimated_bits / 8 > double(plain.size())) return out.append(plain.bytes());
  ByteWriter entropy(out.bigEndian());
  writeArithmetic(entropy, *table);
  if (table->entries.size() > 1) {
    ByteWriter huffman(out.bigEndian());
    writeHuffman(huffman, *table);
    if (huffman.size() < entropy.size()) entropy = std::move(huffman);
  }
  out.append(entropy.size() < plain.size() ? entropy.bytes() : plain.bytes());
}

}  // namespace

void writePacketV8(ByteWriter& out, std::span<const std::int32_t> values, Codec codec) {
  if (values.empty()) return writeBitLength(out, values);
  if (codec == Codec::Best) return writeBest(out, values);
  if (codec == Codec::Null) {
    out.u8(0);
    out.i32(static_cast<std::int64_t>(values.size()));
    for (const auto value : values) out.i32(value);
    return;
  }
  if (codec == Codec::Huffman || codec == Codec::Arithmetic || codec == Codec::ArithmeticTwoContexts) {
    const auto table = makeTable(values, 512, std::numeric_limits<std::size_t>::max());
    const bool useful = table && table->out_of_band.size() < values.size();
    if (useful && codec == Codec::Arithmetic) return writeArithmetic(out, *table);
    if (useful && codec == Codec::ArithmeticTwoContexts) return writeTwoContexts(out, *table);
    if (useful && table->entries.size() > 1) return writeHuffman(out, *table);
  }
  writeBitLength(out, values);
}

}  // namespace loftbay::maker
