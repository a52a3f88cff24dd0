#pragma once

#include "Mis/TaskData/KeyRow.h"

/// All rows. Their order counts: a name is read by the first row that fits, a key is written with the name of the last.
/// A row with the id 0 marks the end.
extern const _TOInfo taskOptions[taskOptionCount + 1];
