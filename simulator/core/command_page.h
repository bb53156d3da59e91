// The page of the documentation that tells the form of every command, and all results.
#pragma once

#include <string>

namespace lumosim {

class Controller;

std::string CommandPage(const Controller& controller); // Markdown

} // namespace lumosim
