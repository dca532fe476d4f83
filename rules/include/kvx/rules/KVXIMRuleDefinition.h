#pragma once
// The description of one rule of this module: its identity, its parameters with their defaults, how its
// summary is built and how it follows a change of units. The shared rule frame (KVXIMRuleFrame.h) does
// the work from this description; a rule class supplies nothing else. The rules differ on purpose in
// many small ways (which operator counts as "or equal to", what a missing parameter does to the summary,
// which values a change of units converts): every such difference is a field here, never a copy of code.
#include <string>
#include <vector>

#include "kvx/framework/KvxTypes.h"

namespace kvx::rules {

// What a parameter's unit text is, and so which quantity its values are.
enum class UnitKind {
  None,    // a fixed text (the ratios: "D", "t", "T"); never converted
  Length,  // the text of the rule's current length unit; converted as a length
  Angle,   // the text of the rule's current angle unit; converted as an angle
};

// One parameter as the rule creates it and as its default setter fills it.
struct ParameterDefinition {
  long id = 0;
  KvxOperator_e op = KVX_OP_NONE;  // the operator it is created with, i.e. the current operator at first
  KvxParamType_e parameterType = 1;
  bool firstFlag = true;           // first creation flag (the second is always false)
  std::vector<double> defaults{};    // element 0 is the limit; a second value is the upper limit of a range
  std::vector<long> operatorOptions{};
  std::wstring symbol{};
  UnitKind unit = UnitKind::None;
  std::wstring fixedUnit{};          // the unit text when `unit` is None
  double secondField = 0.0;
  int nameId = 0;                  // resource string set as the parameter's own name; 0 leaves it empty
  bool valueOnly = false;          // the default setter sets the value and leaves every other field alone
};

// How the words before a value are chosen.
enum class Wording {
  OrEqualTo,      // resource string 2043 when the operator is the rule's or-equal-to operator, else empty
  OperatorWords,  // a word per operator (7, 6, 1); the range operator shows "<lower> to <upper>"
};

// What the summary does when a parameter it shows is missing.
enum class MissingParameter {
  KeepSummary,  // the summary stays as it was
  EmptyTexts,   // the summary is built with empty texts in place of every value
};

// What the summary does with a parameter whose value list is empty.
enum class EmptyValues {
  ShowEmpty,                // the value text is empty
  KeepSummaryIfShownEmpty,  // the summary stays as it was when a parameter it shows has no values
  KeepSummaryIfAnyEmpty,    // the same as soon as any parameter it looks at has no values
};

// One parameter's place in the summary: its texts are the wording, the value and, when `unit` is not
// None, the current unit's text.
struct SummarySlot {
  long parameterId = 0;
  int pieceFormat = 0;  // the slot's own format (a piece of the summary); 0 when the rule has one format
  UnitKind unit = UnitKind::None;
  bool normaliseLegacyValues = false;  // old value lists carried the enabled flag in front of the value
};

// How the summary is built. The values shown are the rule's own, or, with the material workflow on and
// constraints present, those of the constraints named "Default" (later ones win).
struct SummaryDefinition {
  int format = 0;  // filled with every slot's texts in slot order; 0: the slots' pieces are joined
  std::vector<SummarySlot> slots{};
  int orEqualOperator = KVX_OP_LESS_EQUAL;
  Wording wording = Wording::OrEqualTo;
  MissingParameter missing = MissingParameter::KeepSummary;
  bool ownParameterRequired = false;  // the rule's own parameters must exist even when constraints supply the values
  EmptyValues emptyValues = EmptyValues::ShowEmpty;
  bool piecesOnlyWhenEnabled = false;  // a slot whose parameter is switched off shows nothing
  std::wstring pieceSeparator{};         // written after every non-empty piece except the last
  bool stickyOrEqualTo = false;        // a later "Default" parameter does not clear an earlier or-equal-to text
};

// Whose values a change of unit converts.
enum class OwnValueConversion {
  WhenWorkflowOff,    // the rule's own with the material workflow off; the constraints' with it on
  WhenNoConstraints,  // the rule's own only with the workflow on and no constraints; the constraints' when there are
};

// How the rule follows a change of units. Only parameters whose unit kind is a quantity are converted.
struct UnitChangeDefinition {
  bool ignored = false;  // the rule keeps its values and does not even take the new unit system
  OwnValueConversion ownValues = OwnValueConversion::WhenWorkflowOff;
  bool ownLimitsAlwaysFollow = false;  // own range limits and unit texts follow even when own values are not converted
  bool parametersRequired = false;     // a missing parameter ends the change before the units are taken
  bool normaliseLegacyValues = false;  // old value lists are normalised first
};

// Everything that makes one rule class of this module.
struct RuleDefinition {
  int nameId = 0;     // display name (localized library)
  int keyNameId = 0;  // key name written to XML (English library)
  int ruleId = 0;
  int severity = 2;
  int pictureId = 0;  // picture handed to the editor; 0: none
  int placeholderFormat = 0;     // the constructor's summary until the first build; 0: none
  int placeholderArguments = 0;  // empty texts it is filled with; -1: loaded as it stands
  std::vector<ParameterDefinition> parameters{};  // in ascending id order
  SummaryDefinition summary{};
  UnitChangeDefinition unitChange{};
  bool materialWorkflow = true;  // keeps a default constraint, reads constraints, reports the workflow switch
  int executeResult = 0;
  bool ignoresAssemblyStatus = false;  // SetRuleStatusForAssemblyModel leaves the status alone

  // --- each kept for exactly one rule; every other rule leaves them as they are ---
  bool summaryOnInitialise = true;          // the summary is built when the parameters are created
  bool stopOnIncompleteConstraint = false;  // reading stops when a constraint lacks one of the parameters
};

}  // namespace kvx::rules
