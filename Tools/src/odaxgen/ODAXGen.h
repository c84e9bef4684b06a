// ODAXGen - the job driver. makeODAXData() (declared in <odaxgen/ODAXGen.h>) runs a job from
// configuration to job file. ODAXGen.cpp is the order of the job, PageSetup.cpp tells the raster
// writer the settings, PagePipeline.cpp turns the image files of a page into bands.
#pragma once

#include <odaxgen/ODAXGen.h>

#include "CFGRecords.h"
#include "CLibrary.h"  // GetFullPath
#include "PagePipeline.h"
#include "PageSetup.h"

/// Creates the packet writer for a job: output, templates and, unless the split size is 0, the
/// open output file. @throws -49 when the output cannot be opened; the record is then freed
void processODAX(parameter* record);
