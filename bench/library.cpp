#include "library.h"

#include "zelq.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

thread_local ControllerStatus status;

void Check(short result, const char* call)
{
    if (result != ZELQ_OK) {
        throw std::runtime_error(std::string(call) + " gives " + std::to_string(result));
    }
}

short Number(int number)
{
    return static_cast<short>(number);
}

} // namespace

void Connect(const Peer& peer)
{
    const short number = Number(peer.Host());
    zelQ_SetNetPortNum(number, peer.Port());
    ConnectAgain(number);
    Check(zelQ_TMOSet(number, 1000, 1000, 1000), "zelQ_TMOSet");
}

void ConnectAgain(int number)
{
    Check(zelQ_Connect(Number(number), 127, 0, 0), "zelQ_Connect");
}

void Disconnect(int number)
{
    zelQ_Disconnect(Number(number));
}

void MoveAbs(int number)
{
    Check(zelQ_MoveAbs(Number(number), 3, 1000.5), "zelQ_MoveAbs");
}

void FillRecord()
{
    std::memset(&status, 0, sizeof(status));
    asm volatile("" : : "r"(&status) : "memory"); // somebody reads it
}

void Snapshot(int number)
{
    Check(zelQ_GetAllStatus(Number(number), &status), "zelQ_GetAllStatus");
}

} // namespace bench
