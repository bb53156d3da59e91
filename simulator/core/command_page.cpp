#include "command_page.h"

#include "controller.h"
#include "names.h"

#include <array>
#include <cstdio>

namespace lumosim {

namespace {

constexpr const char* kHead = R"(# The commands of lumo-sim, field by field

`lumo-sim --commands` prints this page; `script/docs` puts it here. What the commands do stands in
[simulator.md](simulator.md).

A field is one register, without a sign. (s16) is one with a sign; (s32) and (u32) are two
registers, the low word first, with and without a sign.

| code | command | fields |
|---|---|---|
)";

constexpr const char* kResults = R"(
## Results

| result | name | meaning |
|---|---|---|
)";

} // namespace

std::string CommandPage(const Controller& controller)
{
    std::string page = kHead;
    for (const auto& [code, row] : controller.Commands().Rows()) {
        std::array<char, 8> number{};
        std::snprintf(number.data(), number.size(), "0x%X", static_cast<unsigned>(code));
        page += "| " + std::string(number.data()) + " | " + row.name + " | " +
                FieldsAsOrder(row.fields) + " |\n";
    }
    page += kResults;
    for (const auto& [result, name, text] : ResultNames()) {
        page += "| " + std::to_string(static_cast<unsigned>(result)) + " | " + name + " | " + text +
                " |\n";
    }
    return page;
}

} // namespace lumosim
