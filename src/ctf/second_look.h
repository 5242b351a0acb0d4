#pragma once

#include <new>

#include "base/file.h"
#include "base/notices.h"

#include <ctfmeg/reading_rules.h>

namespace ctfmeg {

/// Passes on what is noticed of a file while it is read by host rules, and then while it is looked at once
/// more.
class TwoLooks : public Notices {
 public:
  explicit TwoLooks(Notices& notices) : m_notices(notices) {}
  void report(const Finding& finding) override;

  bool warned() const { return m_warned; }
  /// From here on only warnings are passed on.
  void lookAgain() { m_second = true; }

 private:
  Notices& m_notices;
  bool m_warned = false;
  bool m_second = false;
};

/// Reads a side file by `parse(rules, notices, keeping)` and returns its result. Host rules leave much of a
/// file unread, and what is damaged there would go unnoticed. So a file that they read without a warning is
/// looked at once more as plain rules read it: that only reports, and nothing is kept (`keeping` is false).
template <class Parse>
bool readAndLook(const ReadingRules& rules, Notices& notices, const Parse& parse) {
  if (rules.everyLine) return parse(rules, notices, true);
  TwoLooks looks(notices);
  const bool result = parse(rules, looks, true);
  if (looks.warned()) return result;
  looks.lookAgain();
  try {
    parse(ReadingRules::plain(), looks, false);
  } catch (const FileError&) {  // hosts have what was read before
  } catch (const std::bad_alloc&) {
  }
  return result;
}

}  // namespace ctfmeg
