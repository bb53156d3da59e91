// What can be asked of one controller at the control port.
#pragma once

#include "http_server.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumosim {

class Recorder;
class Server;

// A request, and the controller that it is for.
struct Call
{
    Server& server;
    Recorder& recorder;
    std::vector<std::string> wild; // what stands where the route has a *
    const web::Request& request;
};

// A request that is right in itself and cannot be done: 404, 409.
class Refused : public std::runtime_error
{
  public:
    Refused(unsigned httpStatus, const std::string& sentence)
        : std::runtime_error(sentence), status(httpStatus)
    {}

    unsigned status;
};

struct Route
{
    const char* method;
    const char* path; // "axes/*/inputs"
    const char* text;
    std::function<web::Answer(const Call&)> run;
};

const std::vector<Route>& Routes();

} // namespace lumosim
