#pragma once

#include "CamFile.h"
#include "CamProperty.h"
#include "ConstCamProperty.h"
#include "Error.h"
#include "ErrorHandlerBase.h"
