// All that a traced program needs: the default handle, its messages, and the timers of its blocks.
#pragma once

#include "Flashlog/BlockTimerSelf.h"
#include "Flashlog/Clock.h"
#include "Flashlog/FlashlogHandle.h"
#include "Flashlog/MsgDesc.h"
#include "Flashlog/TraceFile.h"
