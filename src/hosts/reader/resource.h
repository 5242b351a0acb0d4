#pragma once

// Numbers of the "Sampling Rate" dialog, for the resource script too: the template and its edit field share
// one.
#define IDD_SAMPLING_RATE 17000
#define IDC_SAMPLING_RATE 17000
