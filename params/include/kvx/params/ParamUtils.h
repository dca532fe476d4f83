#pragma once
// Utilities that work on framework objects: legacy value layouts, unit codes read from the rule
// document, range-limit conversion and the database directory check.
#include <string>

class CKvxParamStorage;
class KvxXMLNode;

namespace kvx::params {

// Old double parameters carried their enabled flag as a leading 1.0/0.0: with exactly two or three
// values the first becomes the status (value == 1.0) and is dropped. Other counts, other types and
// null are left alone.
void NormaliseLegacyValues(CKvxParamStorage* parameter);

// The length unit code on the parent element of `node` ("Unit"); only the first character counts, as
// the codes are single digits. 0 when there is no parent or no attribute.
int ReadUnitFromDocument(const KvxXMLNode* node);
// The angle unit code on the parent element of `node` ("AngularUnit"), read the same way.
int ReadAngularUnitFromDocument(const KvxXMLNode* node);

// Converts the parameter's range limits of quantity `kind` between unit codes; nothing for null.
void ConvertRangeLimits(CKvxParamStorage* parameter, int kind, int fromUnit, int toUnit);

// When `report` is set, checks the folder named by KORVEX_DATABASE_DIR and shows string 2857 (usable) or
// 2856; returns whether the folder and the file probe both passed. Unasked, probes nothing and returns false.
bool CheckDatabaseDirectory(bool report);

}  // namespace kvx::params
