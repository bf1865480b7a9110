#include "Shared/ReaderSwitches.h"

std::atomic<bool> cDlbStatusSwitches::mbDolbyZoomStatus{false};
std::atomic<int> cDlbStatusSwitches::miDecodingSource{0};
std::atomic<int> cDlbStatusSwitches::miVidLnNoForZP{0};
std::atomic<int> cDlbStatusSwitches::miVidLnNoForNextToZP{0};
std::atomic<std::int64_t> cDlbStatusSwitches::mlEd2MAFactor{0};
