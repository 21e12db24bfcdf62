// The whole library: include this one header and begin with the class Utils, or with
// CompareDirectly.
#pragma once

#include "Utils.h"
#include "catalog/Databases.h"
#include "core/Error.h"
#include "core/KeyedList.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "data/PropertyBag.h"
#include "data/Recordset.h"
#include "direct/DirectComparison.h"
#include "direct/DirectScript.h"
#include "direct/ReadableCell.h"
#include "direct/ReadingPace.h"
#include "templates/ComparisonTemplates.h"
