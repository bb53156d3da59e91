/**
 * @file zelq/span.hpp
 * A view of elements that stand somewhere else; included by zelq.hpp.
 */
#ifndef ZELQ_SPAN_HPP
#define ZELQ_SPAN_HPP

#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>

#if defined(__has_include)
#if __has_include(<version>)
#include <version>
#endif
#endif
#ifdef __cpp_lib_span
#include <span>
#endif

namespace zelq {

#ifdef __cpp_lib_span
template <typename T>
using Span = std::span<T>;
#else
/** Elements that stand one behind the other somewhere else: what std::span is from C++20 on. */
template <typename T>
class Span
{
  public:
    constexpr Span() noexcept = default;
    constexpr Span(T* first, std::size_t count) noexcept : first_(first), count_(count) {}
    template <typename Elements, typename = std::enable_if_t<std::is_convertible_v<
                                     decltype(std::data(std::declval<Elements&>())), T*>>>
    constexpr Span(Elements&& elements) noexcept // NOLINT: as std::span
        : first_(std::data(elements)), count_(std::size(elements))
    {}

    [[nodiscard]] constexpr T* begin() const noexcept { return first_; }
    [[nodiscard]] constexpr T* end() const noexcept { return first_ + count_; }
    [[nodiscard]] constexpr T* data() const noexcept { return first_; }
    [[nodiscard]] constexpr std::size_t size() const noexcept { return count_; }
    [[nodiscard]] constexpr bool empty() const noexcept { return count_ == 0; }
    constexpr T& operator[](std::size_t index) const { return first_[index]; }

  private:
    T* first_ = nullptr;
    std::size_t count_ = 0;
};
#endif

} // namespace zelq

#endif /* ZELQ_SPAN_HPP */
