#pragma once
// Named ids of the strings in the resource libraries KVXIMRulesResu (resources/<language>/strings.txt).
// The numbers are fixed: saved rule sets, the parameter XML and every translated table depend on them.
// Texts marked "format" are printf-style formats; their arguments are wide strings given as %s,
// in the order stated. Every id below exists in every language's table (the resource tests check it).

namespace kvx::res {

// ---- Length unit texts, by length unit code (code 5 has no text) -------------------------------
constexpr int kUnitMillimetre = 2000;  // code 0
constexpr int kUnitCentimetre = 2006;  // code 1
constexpr int kUnitMetre = 2007;       // code 2
constexpr int kUnitInch = 2010;        // code 3
constexpr int kUnitFoot = 2011;        // code 4
constexpr int kUnitAngstrom = 2003;    // code 6
constexpr int kUnitNanometre = 2004;   // code 7
constexpr int kUnitMicrometre = 2005;  // code 8
constexpr int kUnitMil = 2009;         // code 9
constexpr int kUnitMicroinch = 2008;   // code 10

// ---- Angle unit texts, by angle unit code --------------------------------------------------------
constexpr int kUnitDegree = 2012;                  // code 0
constexpr int kUnitRadian = 2001;                  // code 1
constexpr int kUnitDegreeMinute = 2002;            // code 2
constexpr int kUnitDegreeMinuteSecond = 2013;      // code 3

// ---- Severity names, by severity code (distinct texts: a name is turned back into its code) -----
constexpr int kSeverityVeryLow = 2014;   // code 0
constexpr int kSeverityLow = 2015;       // code 1
constexpr int kSeverityMedium = 2016;    // code 2
constexpr int kSeverityHigh = 2017;      // code 3
constexpr int kSeverityVeryHigh = 2018;  // code 4

// ---- Module ---------------------------------------------------------------------------------------
constexpr int kModuleName = 2039;                // the module's display name (GetModuleName)
constexpr int kModuleSummary = 2040;             // the module's one-line summary (GetModuleSummary)
constexpr int kRuleModuleName = 2042;            // module display name handed to every rule
constexpr int kOrEqualTo = 2043;                 // inserted after "less than"/"greater than"; starts with a space
constexpr int kIllegalParameterDataType = 2044;  // message: a parameter's value type is outside 1..8
constexpr int kDefaultConstraintName = 2827;     // name of the default constraint; "Default" in every language
// The text of kDefaultConstraintName in every table: saved rule sets store it, and summaries find the default
// constraint by it without loading a library.
inline constexpr const wchar_t* kDefaultConstraintText = L"Default";

// ---- Rule names (key names come from the English library; the others are only shown) ------------
constexpr int kBossBaseRadiusRuleName = 2056;
constexpr int kBossTipRadiusRuleName = 2067;
constexpr int kDraftAngleRuleName = 2115;
constexpr int kRibParametersRuleName = 2090;
constexpr int kUndercutDetectionRuleName = 2111;
constexpr int kRibReinforcementRuleName = 2073;
constexpr int kMaxCutoutAreaRuleName = 2078;
constexpr int kMouldedWallThicknessRuleName = 2096;
constexpr int kWallThicknessVariationRuleName = 2135;
constexpr int kSuddenWallThicknessVariationRuleName = 2203;
constexpr int kUniformThicknessRuleName = 2047;
constexpr int kHoleDepthRuleName = 2345;
constexpr int kBossDraftRuleName = 2464;
constexpr int kRibTipThicknessRuleName = 2728;
constexpr int kMouldingToleranceRuleName = 2515;
constexpr int kCorePinDiameterRuleName = 2735;
constexpr int kRibBaseRadiusRuleName = 2326;
constexpr int kSpacingBetweenHolesRuleName = 2610;  // key name of the hole spacing rule (older rule sets use it)
constexpr int kHoleSpacingRuleName = 2372;          // display name of the hole spacing rule
constexpr int kUndercutInterferenceRuleName = 2182;       // older name of the undercut interference rule
constexpr int kUndercutInterferenceCheckRuleName = 2285;  // its name today
constexpr int kVariableDraftAngleRuleName = 2576;
constexpr int kBossParametersRuleName = 2493;
constexpr int kLipBottomRadiusRuleName = 2441;
constexpr int kMinRibClearanceRuleName = 2062;

// ---- Rule summaries ---------------------------------------------------------------------------------
constexpr int kHoleDepthSummary = 2346;              // format: or-equal-to blind, blind value, or-equal-to through, through value
constexpr int kBossDraftInnerWallSummary = 2465;     // format: or-equal-to, value, angle unit text
constexpr int kBossDraftOuterWallSummary = 2466;     // format: or-equal-to, value, angle unit text
constexpr int kRibTipThicknessSummary = 2729;        // format: operator text, value text, length unit text
constexpr int kLipBottomRadiusSummary = 2442;        // format: or-equal-to, value
constexpr int kMaxCutoutAreaSummary = 2080;          // format: or-equal-to, value, length unit text
constexpr int kHoleSpacingSummary = 2373;            // format: or-equal-to, value
constexpr int kMinRibClearanceSummary = 2063;        // format: or-equal-to, value
constexpr int kRibReinforcementAreaSummary = 2074;   // format: or-equal-to, value, length unit text; ends the area piece
constexpr int kRibReinforcementHeightSummary = 2104; // format: or-equal-to, value; follows the area piece directly
constexpr int kMouldingToleranceSummary = 2521;      // plain text

// ---- Operator texts of the rib tip thickness summary ------------------------------------------------
constexpr int kOperatorAtLeast = 2491;   // operator 7
constexpr int kOperatorMoreThan = 2482;  // operator 6
constexpr int kOperatorRange = 2378;     // operator 1; followed by "<lower> to <upper>"

// ---- Parameter names (each parameter's id is also the id of its name) ----------------------------
constexpr int kBlindHoleDepthParam = 2347;     // hole depth rule: blind hole depth / diameter
constexpr int kThroughHoleDepthParam = 2348;   // hole depth rule: through hole depth / diameter
constexpr int kInnerWallDraftParam = 2468;     // boss draft rule: draft of the inner wall (ID)
constexpr int kOuterWallDraftParam = 2469;     // boss draft rule: draft of the outer wall (OD)
constexpr int kRibTipThicknessParam = 2730;    // rib tip thickness rule: tip thickness
constexpr int kLipBottomRadiusParam = 2443;    // lip bottom radius rule: bottom radius / wall thickness
constexpr int kCutoutAreaParam = 2081;         // maximum cut-out area rule: cut-out area / wall thickness
constexpr int kHoleSpacingParam = 2374;        // hole spacing rule: hole spacing / wall thickness
constexpr int kRibClearanceParam = 2061;       // minimum rib clearance rule: clearance between ribs
constexpr int kRibAreaParam = 2077;            // rib reinforcement rule: area / wall thickness
constexpr int kRibHeightParam = 2102;          // rib reinforcement rule: rib height / wall thickness
constexpr int kToleranceOverParam = 2517;      // tolerance table column: band lower bound ("Over")
constexpr int kToleranceUptoParam = 2518;      // tolerance table column: band upper bound ("Up to")
constexpr int kToleranceAValueParam = 2519;    // tolerance table column: coefficient A
constexpr int kToleranceBValueParam = 2520;    // tolerance table column: coefficient B

// ---- Moulding tolerance dialog ------------------------------------------------------------------------
constexpr int kSelectMaterialFirst = 2215;         // message: rows typed while no material is selected
constexpr int kAddMaterialRow = 2219;              // last row of the material list; typing a name there adds it
constexpr int kToleranceValueNotPositive = 2455;   // message: Up to, A value or B value not greater than 0
constexpr int kPlaceholderRow = 2523;              // first cell of a row that cannot be deleted
constexpr int kMaterialAlreadyListed = 2524;       // format: material name
constexpr int kIncompleteToleranceRow = 2529;      // message: a row with some but not all cells filled
constexpr int kNominalDimensionCaption = 2542;     // caption, followed by "(<unit>)"
constexpr int kToleranceCaption = 2543;            // caption, followed by "(<unit>)"
constexpr int kMaterialColumn = 2544;              // header of the material list's name column
constexpr int kMaterialRowsColumn = 2545;          // header of the material list's row-count column
constexpr int kSeverityLabel = 2546;               // label of the dialogs' severity combo box
constexpr int kImportSpreadsheetButton = 2547;     // button that imports a spreadsheet (also Ctrl+I)

// ---- Spreadsheet reading ------------------------------------------------------------------------------
constexpr int kSpreadsheetOpenFailed = 2532;       // the file could not be opened
constexpr int kSpreadsheetAppNotStarted = 2533;    // the spreadsheet reader could not be started
constexpr int kSpreadsheetAppMissing = 2534;       // no spreadsheet reader is available
constexpr int kSpreadsheetEmptyColumns = 2535;     // format: the empty columns' numbers joined by ", "

// ---- Database directory check --------------------------------------------------------------------
constexpr int kDatabaseDirNotUsable = 2856;  // the directory or its files cannot be written
constexpr int kDatabaseDirUsable = 2857;     // the directory and its files can be written

// ---- Common rules: summaries (format: one limit text per parameter, in parameter order) ----------
constexpr int kBossBaseRadiusSummary = 3200;
constexpr int kBossTipRadiusSummary = 3201;
constexpr int kDraftAngleSummary = 3202;
constexpr int kRibParametersSummary = 3203;
constexpr int kUndercutDetectionSummary = 3204;
constexpr int kMouldedWallThicknessSummary = 3205;
constexpr int kWallThicknessVariationSummary = 3206;
constexpr int kSuddenWallThicknessVariationSummary = 3207;
constexpr int kUniformThicknessSummary = 3208;
constexpr int kCorePinDiameterSummary = 3209;
constexpr int kRibBaseRadiusSummary = 3210;
constexpr int kUndercutInterferenceSummary = 3211;
constexpr int kVariableDraftAngleSummary = 3212;
constexpr int kBossParametersSummary = 3213;

// ---- Common rules: one limit as a summary shows it --------------------------------------------
constexpr int kLimitLessThan = 3220;     // format: value with unit
constexpr int kLimitAtMost = 3221;       // format: value with unit
constexpr int kLimitMoreThan = 3222;     // format: value with unit
constexpr int kLimitAtLeast = 3223;      // format: value with unit
constexpr int kLimitBetween = 3224;      // format: lower value, upper value (each with unit)
constexpr int kSwitchOn = 3225;
constexpr int kSwitchOff = 3226;
constexpr int kLimitNotSet = 3227;

// ---- Common rules: parameters (each parameter's id is also the id of its name) ----------------
constexpr int kBossBaseRadiusMinParam = 3010;
constexpr int kBossBaseRadiusMaxParam = 3011;
constexpr int kBossTipRadiusMinParam = 3020;
constexpr int kDraftPerSideParam = 3030;
constexpr int kDraftTexturedParam = 3031;
constexpr int kRibThicknessRatioParam = 3040;
constexpr int kRibHeightRatioParam = 3041;
constexpr int kRibDraftParam = 3042;
constexpr int kRibSpacingRatioParam = 3043;
constexpr int kDetectUndercutsParam = 3050;
constexpr int kUndercutDepthParam = 3051;
constexpr int kWallThicknessMinParam = 3060;
constexpr int kWallThicknessMaxParam = 3061;
constexpr int kThicknessVariationParam = 3070;
constexpr int kTransitionLengthParam = 3071;
constexpr int kSuddenThicknessChangeParam = 3080;
constexpr int kThicknessDeviationParam = 3090;
constexpr int kNominalThicknessParam = 3091;
constexpr int kCorePinDiameterParam = 3100;
constexpr int kCorePinLengthParam = 3101;
constexpr int kRibBaseRadiusMinParam = 3110;
constexpr int kRibBaseRadiusMaxParam = 3111;
constexpr int kCheckInterferenceParam = 3120;
constexpr int kSideActionClearanceParam = 3121;
constexpr int kShallowFaceDraftParam = 3130;
constexpr int kShallowFaceDepthParam = 3131;
constexpr int kDeepFaceDraftParam = 3132;
constexpr int kBossOuterDiameterParam = 3140;
constexpr int kBossWallRatioParam = 3141;
constexpr int kBossHeightRatioParam = 3142;

// ---- Generic rule dialog ----------------------------------------------------------------------
constexpr int kRangeTo = 3240;                // between a range's two values: dialog fields, rib tip summary
constexpr int kParameterEnabled = 3241;       // check box of a limit that can be switched off
constexpr int kUnnamedParameter = 3242;       // format: the parameter's id
constexpr int kValueNotANumber = 3243;        // format: the parameter's name
constexpr int kValueOutOfRange = 3244;        // format: the parameter's name, lowest, highest value
constexpr int kValueBelowZero = 3245;         // format: the parameter's name
constexpr int kRangeUpperBelowLower = 3246;   // format: the parameter's name

// ---- Checks of the tolerance table before it is kept ------------------------------------------------
constexpr int kToleranceBandNotAscending = 2858;  // format: material name, the band's Over text
constexpr int kToleranceBandsOverlap = 2859;      // format: material name, the two bands' Over texts
constexpr int kMaterialNamedTwice = 2860;         // format: material name (names compared without case)
constexpr int kSheetOverNotANumber = 2861;        // format: the sheet's row number

// ---- Part checker: report and text output (labels only; numbers and names follow a colon) ----------
constexpr int kCheckTitle = 3300;          // the report's title and heading, before the part's file name
constexpr int kCheckSolids = 3301;
constexpr int kCheckFaces = 3302;          // a count of faces, and the findings table's column of face numbers
constexpr int kCheckNominalWall = 3303;    // nominal wall thickness
constexpr int kCheckPull = 3304;           // pull (mould-opening) direction
constexpr int kCheckWarning = 3305;        // a problem of the part's file that may make it misread
constexpr int kCheckCutShort = 3306;       // an analysis stopped by the time allowance
constexpr int kCheckFindings = 3307;       // heading, and the count of findings
constexpr int kCheckRule = 3308;
constexpr int kCheckFeature = 3309;        // the kind of feature a finding is about (hole, boss, rib, ...)
constexpr int kCheckMeasured = 3310;       // the measured value
constexpr int kCheckLimit = 3311;          // the rule's limit
constexpr int kCheckPoint = 3312;          // a point on the part
constexpr int kCheckRules = 3313;          // heading of the rules table
constexpr int kCheckSummary = 3314;        // the rule's summary
constexpr int kCheckResult = 3315;         // the rule's result
constexpr int kCheckPassed = 3316;         // a rule checked without finding
constexpr int kCheckNotChecked = 3317;     // a rule or limit the part could not be checked for
constexpr int kCheckSkipped = 3318;        // a rule switched off
constexpr int kCheckTolerance = 3319;      // recommended tolerance band of a main dimension

}  // namespace kvx::res
