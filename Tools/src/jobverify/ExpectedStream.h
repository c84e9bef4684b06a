// ExpectedStream - the commands that a configuration leads to, apart from rows: configure block,
// resolution, moves. Commands are written as the reader tells them, without ESC.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "JobRequest.h"

namespace jobverify {

/// The parameter bytes of a page's configure block; nothing when the page has none.
std::vector<uint8_t> configureBlock(const PageRequest& page);

/// One command, or two when the resolutions differ.
std::vector<std::string> resolutionCommands(const JobRequest& request);

/// "*p300X", "*b+20Y" and so on, in their order.
std::vector<std::string> moveCommands(const PageRequest& page);

/// The command of an offset, or nothing.
std::string yOffsetCommand(const Position& offset);

/// The method that the page's raster mode begins with.
int startMethod(const PageRequest& page);

/// True for the methods that the page's rows may be sent in.
bool isMethodOf(const PageRequest& page, int method);

}  // namespace jobverify
