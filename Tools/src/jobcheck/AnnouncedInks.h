// AnnouncedInks - what a page's configure block says of its inks. Rules only.
#pragma once

#include <cstddef>
#include <vector>

#include "CFGRecords.h"

namespace jobcheck {

/// The inks that the block names, by the rules that choose its layout.
std::vector<Ink> announcedInks(const imageParameter& page);

/// The size of the block in the stream, whether it is sent or not.
size_t configureBlockBytes(const imageParameter& page);

}  // namespace jobcheck
