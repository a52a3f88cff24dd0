#pragma once

#include "qxc/Request.h"

/// Prints what the log of a run says: each record as a sentence with its time, number and severity, a refused line as
/// FILE:LINE: TEXT, and last what the run did. A line that is no record is printed as LOG:LINE: TEXT: not a record.
/// Returns: answerYes when the run succeeded and the log is whole.
Answer tellLog(const Request& request);
