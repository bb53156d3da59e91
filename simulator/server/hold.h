// The controller, held for one use.
#pragma once

#include "core/controller.h"

namespace lumosim {

class SharedController;

// As long as it lives nothing else touches the controller, whose time it has brought up to now.
class Hold
{
  public:
    explicit Hold(SharedController& shared);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    Controller& operator*() const;
    Controller* operator->() const { return &**this; }

  private:
    SharedController& shared_;
};

} // namespace lumosim
