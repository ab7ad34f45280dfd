#pragma once

#include "elements/DocumentHost.h"

namespace Orvex {

// The former name of a host that shows nothing; a session given no host makes one of its own.
using HeadlessDocumentHost = DocumentHost;

} // namespace Orvex
