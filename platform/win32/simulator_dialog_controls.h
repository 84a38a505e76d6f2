// The simulator's dialog in the resources and its controls by name, for the resource script, the
// code behind it and programs that drive the dialog from outside. Macros: a resource script knows
// nothing else.
#pragma once

#define IDD_frmZentrelSim 100

// What asks for the visual styles of the desktop.
#define IDR_visual_styles 101

// The default button is found by this number when the user presses Enter.
#define IDC_cmdOK 1
#define IDC_cmdNoXpdr 1001
#define IDC_cmdNoZentrel 1002

#define IDC_fraMIF 1010
#define IDC_cboMIF 1011
#define IDC_cboVersion 1012
#define IDC_chkSecondary 1013
#define IDC_lblInterface 1014
#define IDC_lblVersion 1015

#define IDC_fraID 1020
#define IDC_udXpdr 1021
#define IDC_udXpdrBox 1022
#define IDC_chkUserID 1023
#define IDC_chkEOL 1024
#define IDC_lblXpdr 1025

#define IDC_fraData 1030
#define IDC_udReading 1031
#define IDC_udReadingBox 1032
#define IDC_udTamper 1033
#define IDC_udTamperBox 1034
#define IDC_udUtil 1035
#define IDC_udUtilBox 1036
#define IDC_cboTXI 1037
#define IDC_cboMSI 1038
#define IDC_lblReading 1039
#define IDC_lblTamper 1040
#define IDC_lblUtil 1041
#define IDC_lblTXI 1042
#define IDC_lblMSI 1043

#define IDC_Frame1 1050
#define IDC_udThreshold 1051
#define IDC_udThresholdBox 1052
#define IDC_lblThreshold 1053

#define IDC_fraZentrel 1060
#define IDC_cboSignature0 1061
#define IDC_cboSignature1 1062
#define IDC_txtZentrelVersion 1063
#define IDC_txtBattery 1064
#define IDC_lblSignature0 1065
#define IDC_lblSignature1 1066
#define IDC_lblZentrelVersion 1067
#define IDC_lblBattery 1068

#define IDC_lblNotice 1070
