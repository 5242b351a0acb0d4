#include <megreader/framework/text_dialog.h>

namespace {

class EditField : public DialogWindow {
 public:
  CString controlText(int /*control*/) const override { return m_text; }
  void setControlText(int /*control*/, const CString& text) override { m_text = text; }

 private:
  CString m_text;
};

}  // namespace

bool runTextDialog(DialogOwner& owner,
                   const std::function<std::optional<CString>(const CString& value)>& enter) {
  EditField field;
  owner.shown(field);
  const CString first = field.controlText(0);
  for (;;) {
    const auto entered = enter(first);
    if (!entered) return false;
    field.setControlText(0, *entered);
    if (owner.confirmed(field)) return true;
  }
}
