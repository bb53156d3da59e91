#include "keep/sequence_file.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <string_view>

namespace zelq::tool {

namespace {

/// What goes to the program that has the focus; all other functions are executed.
constexpr std::array kRecorded =
    std::to_array<std::string_view>({"zelQ_MoveVel",          "zelQ_mMoveVel",
                                     "zelQ_MoveAbs",          "zelQ_mMoveAbs",
                                     "zelQ_MoveRel",          "zelQ_mMoveRel",
                                     "zelQ_SearchMove",       "zelQ_OverrideDriveSpeed",
                                     "zelQ_OverrideSpeed",    "zelQ_OverrideAbs",
                                     "zelQ_mOverrideSpeed",   "zelQ_mOverrideDriveSpeed",
                                     "zelQ_mOverrideAbs",     "zelQ_StopDec",
                                     "zelQ_StopSudden",       "zelQ_mStop",
                                     "zelQ_StopIMap",         "zelQ_CT_SetTorque",
                                     "zelQ_mCT_SetTorque",    "zelQ_CV_SetVelocity",
                                     "zelQ_mCV_SetVelocity",  "zelQ_PP_SetTPosSpeed",
                                     "zelQ_mPP_SetTPosSpeed", "zelQ_CmdEncPosSet",
                                     "zelQ_mCmdEncPosSet",    "zelQ_EncToCmdPos",
                                     "zelQ_mEncToCmdPos",     "zelQ_HomeMoveHome",
                                     "zelQ_HomeMoveZPhase",   "zelQ_HomeMoveLimit",
                                     "zelQ_HomeMoveStopper",  "zelQ_ILinear",
                                     "zelQ_ILinearWithUAxis", "zelQ_IArc",
                                     "zelQ_IArcCE",           "zelQ_IArcPE",
                                     "zelQ_IArcRE",           "zelQ_IHelical",
                                     "zelQ_IHelicalCE",       "zelQ_IHelicalPE",
                                     "zelQ_IHelicalRE",       "zelQ_SeqFuncDelay"});

bool IsRecorded(std::string_view name)
{
    return name.starts_with("zelQ_SeqFuncWait") ||
           std::find(kRecorded.begin(), kRecorded.end(), name) != kRecorded.end();
}

std::vector<std::string> WordsOf(const std::string& line)
{
    std::vector<std::string> words;
    std::istringstream stream(line.substr(0, line.find('#')));
    for (std::string word; stream >> std::quoted(word, '\'', '\0');) {
        words.push_back(word);
    }
    return words;
}

SequenceRecord ParseRecord(int line, const std::vector<std::string>& words)
{
    std::vector<NamedCall> calls = ParseCalls(words);
    if (calls.size() != 1) throw Failure(kUsage, "more than one function");
    const Function& function = *calls.front().function;
    const bool isRecord = IsRecorded(function.name);
    // A map is set at once, which moves nothing; lines and arcs need it set by this program.
    if (!isRecord && function.name != std::string_view("zelQ_IMapSet")) {
        throw Failure(kUsage, std::string(function.name) +
                                  " would be executed at once: a program keeps motions and waits");
    }
    if (calls.front().arguments.contains("zelNo")) {
        throw Failure(kUsage, "zelNo is filled in");
    }
    // All that is missing or wrong is found before anything is sent.
    Json arguments = calls.front().arguments;
    arguments["zelNo"] = 1;
    const CallFrame checked(function, std::move(arguments));
    return {line, isRecord, std::move(calls.front())};
}

} // namespace

std::vector<SequenceRecord> ReadSequenceFile(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    if (!file) throw Failure(kUsage, name + ": cannot be read");
    std::vector<SequenceRecord> records;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        const std::vector<std::string> words = WordsOf(line);
        if (words.empty()) continue;
        try {
            records.push_back(ParseRecord(number, words));
        } catch (const Failure& failure) {
            throw Failure(kUsage,
                          name + ", line " + std::to_string(number) + ": " + failure.what());
        }
    }
    if (records.empty()) throw Failure(kUsage, name + ": holds no records");
    return records;
}

} // namespace zelq::tool
