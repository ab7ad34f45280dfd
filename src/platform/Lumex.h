#pragma once

#include "platform/CamFile.h"
#include "platform/CamProperty.h"
#include "platform/ConstCamProperty.h"
#include "platform/Error.h"
#include "platform/ErrorHandlerBase.h"
