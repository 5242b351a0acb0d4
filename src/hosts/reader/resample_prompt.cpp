#include "hosts/reader/resample_prompt.h"

#include <megreader/framework/user_interface.h>
#include "hosts/reader/ctf_dataset_reader.h"
#include "hosts/reader/sample_rate_dialog.h"

namespace {

constexpr int kFactorUnlessChosen = 2;

bool wantsResampling(std::int64_t megabytes) {
  CString question;
  question.Format(L"This data is %d MB, would you like to re-sample it?", megabytes);
  return AfxMessageBox(question, MessageStyle::yesNo) == MessageAnswer::yes;
}

int chosenFactor() {
  CDlgSampleRateSet dialog;
  dialog.m_factor = kFactorUnlessChosen;
  return dialog.DoModal() == CDialog::kOk ? dialog.m_factor : kFactorUnlessChosen;
}

}  // namespace

std::optional<std::int64_t> megabytesToAskAbout(std::int64_t bytes) {
  constexpr std::int64_t kLarge = 400'000'000, kMegabyte = 1'000'000;
  if (bytes <= kLarge) return std::nullopt;
  return bytes / kMegabyte;
}

int CCtfDatasetReader::readWithResamplePrompt(const CString& path) {
  const auto megabytes = megabytesToAskAbout(m_currentData->getMEGRecordInfozk()->getRecordedDataSizeByte());
  if (!megabytes || !wantsResampling(*megabytes)) return readCtfDataT(path) != 0;
  return readCtfDataResample(path, chosenFactor()) != 0;
}
