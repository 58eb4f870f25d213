// Which reply members go where in a disclaimer record.
#pragma once

#include <json/value.h>

#include "VerantiAPI.h"

/// Reads every member of a disclaimer's record, as the requests for one disclaimer do. Members are
/// converted one after the other: what stands before one that cannot be converted is in the record.
/// @throws Json::Exception for a member of a kind that cannot be converted.
void ReadAllFields(Json::Value& disclaimer, STHomeDisclaimerContentItem& item);

/// Reads the members that the list of revised disclaimers has; the record's others stay as they
/// are.
/// @throws Json::Exception as above.
void ReadRevisedFields(Json::Value& disclaimer, STHomeDisclaimerContentItem& item);
