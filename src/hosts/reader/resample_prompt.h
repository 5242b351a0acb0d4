#pragma once

#include <cstdint>
#include <optional>

#include <megreader/framework/cdialog.h>

/// Megabytes (1,000,000 bytes, truncated) of a recording that is so large that the user is asked about it;
/// nothing up to 400,000,000 bytes.
std::optional<std::int64_t> megabytesToAskAbout(std::int64_t bytes);

/// The "Sampling Rate" dialog: asks for a resampling factor.
class CDlgSampleRateSet : public CDialog {
 public:
  explicit CDlgSampleRateSet(CWnd* parent = nullptr);

  int m_factor = 2;  ///< 1 to 30 once OK has closed the dialog; each factor-th sample is kept

 protected:
  void DoDataExchange(CDataExchange* exchange) override;
  bool OnInitDialog() override;
  void OnOK() override;
};
