#pragma once

namespace bench {

/// What the C++ binding adds to the calls it makes.
void MeasureCppBinding();

} // namespace bench
