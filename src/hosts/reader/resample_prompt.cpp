#include "hosts/reader/resample_prompt.h"

#include "hosts/reader/ctf_dataset_reader.h"
#include "hosts/reader/resource.h"

#include <megreader/framework/user_interface.h>

namespace {

constexpr DialogTemplate kTemplate{IDD_SAMPLING_RATE, L"Sampling Rate", L"Sampling Rate", IDC_SAMPLING_RATE};
constexpr int kLowest = 1, kHighest = 30;
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

CDlgSampleRateSet::CDlgSampleRateSet(CWnd* parent) : CDialog(kTemplate, parent) {}

void CDlgSampleRateSet::DoDataExchange(CDataExchange* exchange) {
  CDialog::DoDataExchange(exchange);
  DDX_Text(exchange, IDC_SAMPLING_RATE, m_factor);
  DDV_MinMaxInt(exchange, m_factor, kLowest, kHighest);
}

bool CDlgSampleRateSet::OnInitDialog() {
  CDialog::OnInitDialog();
  UpdateData(false);
  return true;
}

void CDlgSampleRateSet::OnOK() {
  // Once here and once in the base: users see the message about a refused value twice.
  UpdateData(true);
  CDialog::OnOK();
}

int CCtfDatasetReader::readWithResamplePrompt(const CString& path) {
  const auto megabytes = megabytesToAskAbout(m_currentData->getMEGRecordInfozk()->getRecordedDataSizeByte());
  if (!megabytes || !wantsResampling(*megabytes)) return readCtfDataT(path) != 0;
  return readCtfDataResample(path, chosenFactor()) != 0;
}
