#include "frame/program.h"
#include "manual_page.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kManualManual =
    R"(Writes the manual page, for "man": every verb with its options, from the texts of --help.

  zelq manual > zelq.1; man ./zelq.1)";

} // namespace

void AddManual(Program& program)
{
    program.AddVerb({"manual", Group::kHelp, "write the manual page", kManualManual},
                    [&program](Context& context) {
                        const std::string page = cli::ManualPage(program.Root(), ZELQ_VERSION);
                        context.out.Show(Json{{"page", page}});
                        if (!context.out.IsJson()) Write(page);
                        return kDone;
                    });
}

} // namespace zelq::tool
