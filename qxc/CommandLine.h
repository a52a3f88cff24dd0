#pragma once

#include "qxc/Request.h"

/// Does what the command line asks for. Says on standard error why it cannot be done. Returns: the exit status.
Answer runQxc(int argc, char** argv);
