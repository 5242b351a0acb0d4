#include "hosts/reader/sample_rate_dialog.h"

#include "hosts/reader/resource.h"

namespace {

constexpr DialogTemplate kTemplate{IDD_SAMPLING_RATE, L"Sampling Rate", L"Sampling Rate", IDC_SAMPLING_RATE};
constexpr int kLowest = 1, kHighest = 30;

}  // namespace

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
  // Once here and once in the base: users are told twice of a value that is refused.
  UpdateData(true);
  CDialog::OnOK();
}
