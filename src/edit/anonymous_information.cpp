#include <algorithm>
#include <array>
#include <vector>

#include "base/encoding.h"
#include "ctf/information_file.h"
#include "edit/anonymous.h"
#include "edit/information_tree.h"
#include "edit/shifted_dates.h"

namespace ctfmeg::edit {
namespace {

using What = Change::What;

constexpr std::array<std::string_view, 3> kBlocks{"_PATIENT_INFO", "_PROCEDURE_INFO", "_DATASET_INFO"};
constexpr std::array<std::string_view, 5> kDateTags{"_PROCEDURE_STARTEDDATETIME", "_PROCEDURE_CLOSEDDATETIME",
                                                    "_DATASET_COLLECTIONDATETIME", "_DATASET_CREATORDATETIME",
                                                    "_DATASET_LASTMODIFIEDDATETIME"};
constexpr std::string_view kCoilTag = "_DATASET_MAXHEADMOTIONCOIL", kIdTag = "_PATIENT_ID";
constexpr std::array<std::string_view, 5> kShortCoilNames{"Na", "Le", "Re", "In", "Cz"};

template <class List>
bool isAmong(const List& list, std::string_view text) {
  return std::find(std::begin(list), std::end(list), text) != std::end(list);
}

/// The tag as people know it; one that is not the system's own may be anything, and is not named.
std::string shownTag(const InfoNode& node) {
  const auto tags = infoTags();
  const bool known =
      std::any_of(tags.begin(), tags.end(), [&](const InfoTag& tag) { return node.tag() == tag.name; });
  return known || isOfTheMachine(node.tag()) ? std::string(node.tag()) : "tags that are not known";
}

std::string_view readPartOf(const std::string& text) {
  return trimmed(std::string_view(text).substr(0, text.find('\0')));
}

bool isNumeric(const InfoNode& node) {
  switch (static_cast<InfoType>(node.type)) {
    case InfoType::float64:
    case InfoType::int32:
    case InfoType::int16:
    case InfoType::uint16:
    case InfoType::signed32:
    case InfoType::unsigned32:
    case InfoType::alsoUnsigned32:
    case InfoType::alsoSigned32:
      return true;
    default:
      return false;
  }
}

class AnonymousInformation {
 public:
  AnonymousInformation(Edited& edited, Anonymous& anonymous) : m_edited(edited), m_anonymous(anonymous) {}

  void changeBlock(InfoNode& block) {
    std::vector<InfoNode> entries;
    for (InfoNode& entry : block.entries)
      if (changeEntry(entry)) entries.push_back(std::move(entry));
    block.entries = std::move(entries);
    block.begun = true;
    if (block.endMark != kInfoEnd) {
      block.endMark = kInfoEnd;
      m_edited.note(What::replaced, "ends of blocks");
    }
  }

 private:
  /// False where the entry goes.
  bool changeEntry(InfoNode& entry) {
    const std::string tag = shownTag(entry);
    if (entry.isBlock() && isAmong(kBlocks, entry.tag())) {
      changeBlock(entry);
    } else if (isNumeric(entry) && isOfTheMachine(entry.tag())) {
      m_edited.note(What::kept, tag);
    } else if (!changeText(entry)) {
      forget(entry);
      m_edited.note(What::removed, tag);
      return false;
    }
    if (entry.name.size() == entry.tag().size()) return true;
    entry.name.resize(entry.tag().size());
    m_edited.note(What::removed, "bytes after tags");
    return true;
  }

  /// False where it is no text, or none that may stay.
  bool changeText(InfoNode& entry) {
    const auto texts = textsOf(entry);
    if (texts.size() != 1 || static_cast<InfoType>(entry.type) == InfoType::textList ||
        static_cast<InfoType>(entry.type) == InfoType::text32List)
      return false;
    const std::string text(readPartOf(texts.front()));
    if (entry.tag() == kCoilTag && isAmong(kShortCoilNames, text)) return put(entry, text, What::kept);
    if (entry.tag() == kIdTag && !m_anonymous.subject.empty()) {
      m_anonymous.removeName(text);
      return put(entry, m_anonymous.subject, What::replaced);
    }
    return isAmong(kDateTags, entry.tag()) && changeDate(entry, text);
  }

  bool changeDate(InfoNode& entry, const std::string& text) {
    const auto date = dateOfTimestamp(text);
    const auto& how = m_anonymous.how;
    if (how.dates == Dates::remove || text.empty()) return false;
    if (date && how.dates == Dates::keep) return put(entry, text, What::kept);
    const auto moved = how.dates == Dates::shift ? shiftedTimestamp(text, how.shiftDays) : std::nullopt;
    if (!moved) {
      m_anonymous.warn(Code::copyDate, date ? "has a date in " + std::string(entry.tag()) +
                                                  " that would be before 1900 or after 9999: it is removed"
                                            : "has a date in " + std::string(entry.tag()) +
                                                  " that is not of the form YYYYMMDDHHMMSS: it is removed");
      return false;
    }
    forget(entry);
    m_anonymous.written.push_back(*shifted(*date, how.shiftDays));
    return put(entry, *moved, What::shifted);
  }

  bool put(InfoNode& entry, const std::string& text, What what) {
    if (!setTexts(entry, {text})) return false;
    m_edited.note(what, std::string(entry.tag()));
    return true;
  }

  /// Remembers what an entry held.
  void forget(const InfoNode& entry) {
    for (const InfoNode& inner : entry.entries)
      forget(inner);
    const bool isPart = entry.tag().starts_with("_PATIENT_NAME");
    const bool isName = isPart || entry.tag() == kIdTag || entry.tag() == "_PATIENT_PACS_NAME" ||
                        entry.tag() == "_DATASET_OPERATORNAME";
    for (const std::string& text : textsOf(entry)) {
      const std::string_view read = readPartOf(text);
      if (isPart) m_anonymous.patient.append(read).append(" ");
      if (const auto date = dateOfTimestamp(read))
        m_anonymous.removed.addDate(*date);
      else if (isName)
        m_anonymous.removeName(read);
      else
        m_anonymous.removed.addPath(read);
      for (const Date& possible : possibleDates(read))
        m_anonymous.removed.addDate(possible);
    }
  }

  Edited& m_edited;
  Anonymous& m_anonymous;
};

}  // namespace

std::optional<Edited> anonymousInformation(std::string_view bytes, Anonymous& anonymous) {
  InfoTree tree = readInfoTree(bytes);
  if (!tree.root.begun) return std::nullopt;
  Edited edited{{}};
  AnonymousInformation(edited, anonymous).changeBlock(tree.root);
  if (!tree.damage.empty())
    anonymous.warn(Code::infodsDamaged, tree.damage + ": what follows is removed");
  else
    edited.note(What::removed, "bytes after the end", tree.rest.empty() ? 0 : 1);
  tree.rest.clear();
  edited.bytes = bytesOf(tree);
  return edited;
}

}  // namespace ctfmeg::edit
