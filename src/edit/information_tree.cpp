#include "edit/information_tree.h"

#include <algorithm>
#include <optional>
#include <span>

#include "base/byte_order.h"
#include "ctf/information_file.h"

namespace ctfmeg::edit {
namespace {

constexpr std::string_view kMark = "WS1_";
constexpr std::size_t kNumber = 4, kFixedText = 32;

void appendNumber(std::string& bytes, std::size_t number) {
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes += static_cast<char>(number >> shift & 0xFF);
}

void appendSized(std::string& bytes, std::string_view text) {
  appendNumber(bytes, text.size());
  bytes += text;
}

/// Where the texts of a value are: from `offset` for `length` bytes, with their length before them or of
/// fixed width.
struct TextPlace {
  std::size_t offset = 0, length = 0;
  bool fixed = false;
};

/// Goes over names and values. Operations are false, or nothing, where the bytes end before or a length is
/// negative; the place is then wherever that was noticed.
class InfoWalk {
 public:
  explicit InfoWalk(std::string_view bytes) : m_bytes(bytes) {}

  std::size_t place() const { return m_place; }

  bool pass(std::size_t count) {
    if (count > m_bytes.size() - m_place) return false;
    m_place += count;
    return true;
  }

  bool passMark() { return m_bytes.substr(m_place).starts_with(kMark) && pass(kMark.size()); }

  std::optional<std::int32_t> number() {
    const std::size_t at = m_place;
    if (!pass(kNumber)) return std::nullopt;
    return loadBigEndian<std::int32_t>(std::as_bytes(std::span(m_bytes)), at);
  }

  std::optional<std::string_view> sized() {
    const auto length = number();
    const std::size_t at = m_place;
    if (!length || *length < 0 || !pass(static_cast<std::size_t>(*length))) return std::nullopt;
    return m_bytes.substr(at, m_place - at);
  }

  /// Goes over a value that is no block; `place` is called with each text in it.
  template <class Place>
  bool passValue(InfoType type, Place&& place) {
    switch (type) {
      case InfoType::text:
      case InfoType::path:
      case InfoType::longText:
        return passSized(place);
      case InfoType::text32:
        return passFixed(place);
      case InfoType::float64:
        return pass(8);
      case InfoType::int16:
      case InfoType::uint16:
        return pass(2);
      case InfoType::character:
        return pass(1);
      case InfoType::int32:
      case InfoType::signed32:
      case InfoType::alsoSigned32:
      case InfoType::unsigned32:
      case InfoType::alsoUnsigned32:
        return pass(kNumber);
      case InfoType::textList:
      case InfoType::text32List:
      case InfoType::int32List: {
        const auto count = number();
        bool whole = count.has_value();
        for (std::int32_t i = 0; whole && i < *count; ++i)
          whole = type == InfoType::textList     ? passSized(place)
                  : type == InfoType::text32List ? passFixed(place)
                                                 : pass(kNumber);
        return whole;
      }
      case InfoType::block:
        break;
    }
    return false;
  }

 private:
  template <class Place>
  bool passSized(Place& place) {
    const auto text = sized();
    if (text) place(TextPlace{m_place - text->size(), text->size(), false});
    return text.has_value();
  }

  template <class Place>
  bool passFixed(Place& place) {
    if (!pass(kFixedText)) return false;
    place(TextPlace{m_place - kFixedText, kFixedText, true});
    return true;
  }

  std::string_view m_bytes;
  std::size_t m_place = 0;
};

class InfoTreeReader {
 public:
  explicit InfoTreeReader(std::string_view bytes) : m_bytes(bytes), m_walk(bytes) {}

  InfoTree read() {
    InfoTree tree;
    tree.root.type = static_cast<std::int32_t>(InfoType::block);
    if (!readBlock(tree.root, 0)) tree.damage = m_damage;
    tree.rest = m_bytes.substr(tree.damage.empty() ? m_walk.place() : m_entry);
    return tree;
  }

 private:
  bool fail(const char* text) {
    m_damage = text;
    return false;
  }

  bool readBlock(InfoNode& block, int depth) {
    constexpr int kDeepestBlock = 32;
    if (depth > kDeepestBlock) return fail("nests blocks deeper than 32");
    block.begun = m_walk.passMark();
    if (!block.begun) return fail("has no block where one should begin");
    for (;;) {
      m_entry = m_walk.place();
      const auto name = m_walk.sized();
      if (!name) return fail("ends inside an entry, or gives a length that can't be");
      InfoNode node{.name = std::string(*name)};
      if (node.tag().find(kInfoEnd) != std::string_view::npos) {
        block.endMark = node.name;
        return true;
      }
      const auto type = m_walk.number();
      if (!type) return fail("ends inside an entry, or gives a length that can't be");
      node.type = *type;
      const std::size_t value = m_walk.place();
      if (node.isBlock()) {
        m_entry = value;
        block.entries.push_back(std::move(node));
        if (!readBlock(block.entries.back(), depth + 1)) return false;
        continue;
      }
      if (!m_walk.passValue(static_cast<InfoType>(*type), [](const TextPlace&) {}))
        return fail("ends inside a value, or has one of unknown type");
      node.value = m_bytes.substr(value, m_walk.place() - value);
      block.entries.push_back(std::move(node));
    }
  }

  std::string_view m_bytes;
  InfoWalk m_walk;
  std::size_t m_entry = 0;  // what was begun to be read
  std::string m_damage;
};

void appendBlock(std::string& bytes, const InfoNode& block) {
  if (block.begun) bytes += kMark;
  for (const InfoNode& node : block.entries) {
    appendSized(bytes, node.name);
    appendNumber(bytes, static_cast<std::uint32_t>(node.type));
    if (node.isBlock())
      appendBlock(bytes, node);
    else
      bytes += node.value;
  }
  if (!block.endMark.empty()) appendSized(bytes, block.endMark);
}

std::vector<TextPlace> textPlaces(const InfoNode& node) {
  std::vector<TextPlace> places;
  if (!node.isBlock())
    InfoWalk(node.value).passValue(static_cast<InfoType>(node.type), [&](const TextPlace& place) {
      places.push_back(place);
    });
  return places;
}

}  // namespace

bool InfoNode::isBlock() const { return type == static_cast<std::int32_t>(InfoType::block); }

std::string_view InfoNode::tag() const { return std::string_view(name).substr(0, name.find('\0')); }

InfoTree readInfoTree(std::string_view bytes) { return InfoTreeReader(bytes).read(); }

std::string bytesOf(const InfoTree& tree) {
  std::string bytes;
  appendBlock(bytes, tree.root);
  return bytes + tree.rest;
}

std::vector<std::string> textsOf(const InfoNode& node) {
  std::vector<std::string> texts;
  for (const TextPlace& place : textPlaces(node))
    texts.push_back(node.value.substr(place.offset, place.length));
  return texts;
}

bool setTexts(InfoNode& node, const std::vector<std::string>& texts) {
  const auto places = textPlaces(node);
  std::string value;
  std::size_t copied = 0;
  for (std::size_t i = 0; i < places.size(); ++i) {
    const TextPlace& place = places[i];
    const std::size_t start = place.offset - (place.fixed ? 0 : kNumber);
    value.append(node.value, copied, start - copied);
    copied = place.offset + place.length;
    if (!place.fixed) {
      appendSized(value, texts.at(i));
      continue;
    }
    if (texts.at(i).size() > place.length) return false;
    value.append(texts[i]).append(place.length - texts[i].size(), '\0');
  }
  node.value = value.append(node.value, copied);
  return true;
}

}  // namespace ctfmeg::edit
