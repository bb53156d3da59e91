/**
 * @file zelq.hpp
 * zelQ for C++17 and later: header only, beside the C functions of zelq.h, which are all there too.
 *
 *     zelq::Controller press({192, 168, 0}, 3);                      // 192.168.0.3
 *     zelq::Axis x = press.axis(0).units(0.001).speed(50, 200, 200); // millimetres
 *     zelq::ServosOn power(press.axes({0}));                         // off at the end of the scope
 *     x.moveTo(120.0).wait();
 *
 * Every failure is an exception: zelq::Error and what derives from it, with code, text, cause and
 * remedy. A motion that is not waited for goes on by itself; one that an exception leaves behind,
 * and one whose wait fails, is stopped with its deceleration. Positions and speeds are in the
 * axis's user units. Nothing here allocates on the way to the controller, paths apart.
 *
 * Threads: as zelq.h has it; one object is used by one thread at a time. There is one Controller
 * object for a controller at a time: its end disconnects.
 */
#ifndef ZELQ_HPP
#define ZELQ_HPP

#include "zelq/axis.hpp"
#include "zelq/path.hpp"

#include <initializer_list>
#include <stdexcept>
#include <utility>

namespace zelq {

namespace detail {

inline short toShort(Milliseconds time)
{
    // The calls keep them as unsigned 16-bit numbers.
    if (time.count() < 0 || time.count() > 0xFFFF)
        throw std::out_of_range("time-out above 65.535 s");
    return static_cast<short>(static_cast<unsigned short>(time.count()));
}

} // namespace detail

/** The state of a whole controller, as its record has it, with views of what there is. */
struct Status : ControllerStatus
{
    Status() : ControllerStatus{} {}

    [[nodiscard]] Span<const unsigned short> servoNumbers() const
    {
        return {servoAxes, servoCount};
    }
    [[nodiscard]] Span<const unsigned short> inputSlaveNumbers() const
    {
        return {inputSlaves, inputCount};
    }
    [[nodiscard]] Span<const unsigned short> outputSlaveNumbers() const
    {
        return {outputSlaves, outputCount};
    }
};

/** The first three octets of a controller's address; its number is the fourth. */
struct Network
{
    short first, second, third;
};

/** How a controller is talked to; what is left as it is here is as the C functions start. */
struct Link
{
    int port = 502;
    Milliseconds connect{100};
    Milliseconds send{30};
    Milliseconds receive{30}; ///< a reply that comes later is asked for again, three times in all
};

/** A connected controller; disconnected when it ends. */
class Controller
{
  public:
    Controller(Network network, short number, const Link& link = {}) : number_(number)
    {
        detail::check(zelQ_SetNetPortNum(number, link.port), "zelQ_SetNetPortNum");
        detail::check(zelQ_Connect(number, network.first, network.second,
                                   static_cast<unsigned short>(network.third)),
                      "zelQ_Connect");
        try {
            detail::check(zelQ_TMOSet(number, detail::toShort(link.connect),
                                      detail::toShort(link.send), detail::toShort(link.receive)),
                          "zelQ_TMOSet");
        } catch (...) {
            zelQ_Disconnect(number);
            throw;
        }
    }
    ~Controller()
    {
        if (number_ != kNone) zelQ_Disconnect(number_);
    }
    Controller(Controller&& other) noexcept : number_(std::exchange(other.number_, kNone)) {}
    Controller& operator=(Controller&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }

    /** For the functions of zelq.h. */
    [[nodiscard]] short number() const noexcept { return number_; }

    [[nodiscard]] Axis axis(unsigned short axis) const noexcept { return {number_, axis}; }
    [[nodiscard]] Axes axes(Span<const unsigned short> axes) const { return {number_, axes}; }
    [[nodiscard]] Axes axes(std::initializer_list<unsigned short> axes) const
    {
        return {number_, {axes.begin(), axes.size()}};
    }
    /** A path of these axes, the first two of which span the plane of arcs; `map` is 0..15. */
    [[nodiscard]] Path path(std::initializer_list<unsigned short> axes, short map = 0) const
    {
        return path(Span<const unsigned short>(axes.begin(), axes.size()), map);
    }
    [[nodiscard]] Path path(Span<const unsigned short> axes, short map = 0) const
    {
        if (axes.size() > 16) throw std::out_of_range("more than 16 axes");
        return {number_, map, axes};
    }

    [[nodiscard]] Status status() const
    {
        Status status;
        read(status);
        return status;
    }
    /** The same into a record that is there already: for loops in which microseconds count. */
    void read(ControllerStatus& status) const
    {
        detail::check(zelQ_GetAllStatus(number_, &status), "zelQ_GetAllStatus");
    }

    /** An output of the main board. */
    void output(unsigned short pin, bool on) const
    {
        detail::check(zelQ_MDOSetPin(number_, pin, on ? 1 : 0), "zelQ_MDOSetPin");
    }

  private:
    static constexpr short kNone = 0;
    short number_;
};

} // namespace zelq

#endif /* ZELQ_HPP */
