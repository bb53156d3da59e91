// The program around its verbs: what all of them share, and where each adds itself.
#pragma once

#include "frame/controller.h"
#include "frame/failure.h"
#include "frame/output.h"
#include "frame/target.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace zelq::tool {

/// What a verb has at hand while it runs.
class Context
{
  public:
    Context(TargetOptions options, const std::string& file, bool json)
        : out(json), options_(std::move(options)), file_(file)
    {}

    Output out;

    [[nodiscard]] const Settings& Configuration();
    /// The controller that is meant; a Failure when none is named.
    [[nodiscard]] Target Meant();
    /// Connects to it, at the first time.
    Controller& Connected();
    void Disconnect() { controller_.reset(); }

    /// Asks on standard error and takes "y" or "yes" from standard input; anything else is a
    /// Failure. `yes`: do not ask.
    void Confirm(const std::string& question, bool yes) const;

  private:
    TargetOptions options_;
    std::string file_;
    std::unique_ptr<Settings> settings_;
    std::unique_ptr<Controller> controller_;
};

/// Where a verb stands in the help and in the manual.
enum class Group { kFind, kWatch, kMove, kKeep, kSee, kCall, kHelp };

/// A verb's texts; help, manual page and completion are all made of them.
struct VerbText
{
    const char* name;
    Group group;
    const char* summary; ///< one line, without a full stop
    const char* manual;  ///< paragraphs, and examples indented by two spaces
};

using Action = std::function<ExitCode(Context&)>;

class Program
{
  public:
    Program();

    /// The verb's options are added to what is returned.
    CLI::App& AddVerb(const VerbText& text, Action action);
    /// A verb's verb, such as "params get"; the outer one has no action of its own then.
    CLI::App& AddVerb(CLI::App& outer, const std::string& name, const std::string& summary,
                      Action action);

    /// Everything: from the arguments to what the process ends with.
    int Run(int argc, char** argv);

    [[nodiscard]] const CLI::App& Root() const { return root_; }

  private:
    int Perform(Context& context);
    [[nodiscard]] const Action& Chosen();
    [[nodiscard]] std::string WrongUsage(const CLI::ParseError& error) const;

    CLI::App root_;
    std::map<const CLI::App*, Action> actions_;
    TargetOptions options_;
    std::string file_;
    bool json_ = false;
};

/// The title of a group in the help.
const char* TitleOf(Group group);

} // namespace zelq::tool
