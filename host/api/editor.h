// The host's editor API in one include: prompts and system variables (aced.h), the command
// stack (accmd.h), printing and result buffers (acutads.h), and their data types (adsdef.h).
#ifndef KW_HOST_API_EDITOR_H_
#define KW_HOST_API_EDITOR_H_

#include "host/api/accmd.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/adsdef.h"

#endif  // KW_HOST_API_EDITOR_H_
