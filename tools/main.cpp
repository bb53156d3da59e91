// zelq: the command line of ZEL Lumo motion controllers.

#include "frame/program.h"
#include "verbs/verbs.h"

#include <cstdio>

int main(int argc, char** argv)
{
    try {
        zelq::tool::Program program;
        for (const auto add : zelq::tool::kVerbs) {
            add(program);
        }
        return program.Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelq: %s\n", error.what());
        return zelq::tool::kUsage;
    }
}
