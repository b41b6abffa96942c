// Which table a selection means; values outside the enumerations mean the default tables.
#pragma once

#include "platform/Gsm7bit.h"

int Gsm7LockIndex(SMS_NLI_LOCK enLock);        ///< 0, 1 or 3
int Gsm7SingleIndex(SMS_NLI_SIGNLE enSingle);  ///< 0 to 3
