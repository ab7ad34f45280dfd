#pragma once

#include "model/ExceptionBase.h"

namespace Orvex {

// Thrown when the user cancels a long operation; its caller ends quietly instead of reporting it.
ORVEX_DECLARE_EXCEPTION(OperationCanceledException);

} // namespace Orvex
