#pragma once

#include <megreader/framework/cdialog.h>

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
