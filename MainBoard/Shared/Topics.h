#pragma once
// Every topic the daemon publishes or subscribes to, defined once. The two
// trailing '>' of the PA topics belong to their names.

namespace topic {

// Published on dlbMetadataPub.ipc
constexpr const char* kDolbyProcStatus = "DolbyProcStatus";
constexpr const char* kDolbyMetadataGrp = "DolbyMetadataGrp";
constexpr const char* kDolbyMetadataGrpRepub = "DolbyMetadataGrpRepub";
constexpr const char* kDolbyPAData = "DolbyPAData>>";
// Defined as designed: the reader's republish flag for it is never set.
constexpr const char* kDolbyPADataRepub = "DolbyPADataRepub>>";
// Loudness, never published; a record received on it is dropped.
constexpr const char* kDolbyLUDataBin = "DolbyLUDataBin";

// From the decoder
constexpr const char* kDolbyMetadataEvent = "DolbyMetadataEvent";
constexpr const char* kDolbyMetadataBinEvent = "DolbyMetadataBinEvent";

// From the application server, the hardware monitor and the process monitor
constexpr const char* kAppPresetConfiguration = "AppPresetConfiguration";
constexpr const char* kHwmDlbZoomVideoLines = "HwmDlbZoomVideoLines";
constexpr const char* kHwmSignalStatus = "HwmSignalStatus";
constexpr const char* kHwmDlbZoom = "HwmDlbZoom";
constexpr const char* kHwmDolbyPreset = "HwmDolbyPreset";
constexpr const char* kHwmDolbyDecodeStop = "HwmDolbyDecodeStop";
constexpr const char* kDolbyZoomPair = "DolbyZoomPair";
constexpr const char* kHbSysStatusEvent = "HbSysStatusEvent";
constexpr const char* kHbProcsStatus = "HbProcsStatus";
constexpr const char* kHbAppCmd = "HbAppCmd";
// The empty topic: subscribed, it accepts every topic of a publisher.
constexpr const char* kEverything = "";

}  // namespace topic
