// The page, as it stands in the program.
#pragma once

#include <string_view>
#include <vector>

namespace zelq::tool {

struct PageFile
{
    std::string_view name; ///< "index.html"
    std::string_view type;
    std::string_view text;
};

/// Made of the folder `page` when the program is built.
const std::vector<PageFile>& PageFiles();

} // namespace zelq::tool
