// What pages ask of the controller, as the worker does it.
#pragma once

#include "frame/json.h"
#include "panel/machine.h"
#include "panel/peer.h"
#include "panel/worker.h"

namespace zelq::tool {

struct Errand
{
    const Json& request;
    Machine& machine;
    Worker& worker;
    Epoch epoch; ///< when it was asked for
    const Reply& reply;
};

using DoErrand = void (*)(const Errand& errand);

// Each answers, or throws a Failure that becomes the answer.
void MoveAxis(const Errand& errand);
void HomeAxis(const Errand& errand);
void SwitchServos(const Errand& errand);
void ResetAlarms(const Errand& errand);
void SetOutput(const Errand& errand);
void TellAlarms(const Errand& errand);
void TellParameters(const Errand& errand);
void CompareParameters(const Errand& errand);
void TellPrograms(const Errand& errand);
void TellLists(const Errand& errand);
void TellMeaningOf(const Errand& errand); ///< needs no controller

/// An axis that the request names; a Failure when it is none.
unsigned short AxisIn(const Json& request, Machine& machine);
/// A number that has to be there, and finite.
double NumberIn(const Json& request, const char* name);
std::string TextIn(const Json& request, const char* name);

/// The axes as pages are told of them when they come.
Json DescribeAxes(Machine& machine);
/// An alarm's number with what it means.
Json AlarmJson(int axis, int number, int subNumber);

} // namespace zelq::tool
