// SettingChecks - what surprises in the settings of a job as a whole: output, packets, tables,
// resolution, ready-made data.
#pragma once

#include "JobContext.h"

namespace jobcheck {

void checkSettings(JobContext& job);

}  // namespace jobcheck
