// A growable sequence that keeps its first few elements in itself.
//
//     using CodePath = SmallVector<std::uint32_t, 4>;
//     CodePath path = {26, 9, 1};          // allocates nothing
//     path.push_back(2);
#pragma once

#include <algorithm>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace quarn::utils {

/// An iterator whose range can be counted before it is walked.
template <typename Iterator>
concept CountableIterator =
    std::derived_from<typename std::iterator_traits<Iterator>::iterator_category, std::forward_iterator_tag>;

/// Holds up to `inline_capacity` elements without an allocation, more with one. What it has of
/// `std::vector`'s members does the same, except that a move moves the elements that are held inside:
/// pointers to them do not follow. For sequences that are almost always short and are made by the thousand:
/// allocating them costs more than all that is done with them.
template <typename T, std::size_t inline_capacity>
class SmallVector {
    static_assert(inline_capacity > 0);
    static_assert(std::is_nothrow_move_constructible_v<T>, "a move would have to be able to fail");

  public:
    using value_type = T;              ///< see `std::vector`
    using size_type = std::size_t;     ///< see `std::vector`
    using reference = T&;              ///< see `std::vector`
    using const_reference = const T&;  ///< see `std::vector`
    using iterator = T*;               ///< see `std::vector`
    using const_iterator = const T*;   ///< see `std::vector`

    SmallVector() noexcept {}  // not defaulted: a constant one may be made without an initialiser
    /// These elements.
    SmallVector(std::initializer_list<T> elements) : SmallVector(elements.begin(), elements.end()) {}
    /// Copies of a range's elements.
    template <CountableIterator Iterator>
    SmallVector(Iterator first, Iterator last) : SmallVector() {
        append(first, last);
    }

    /// A copy of each element.
    SmallVector(const SmallVector& other) : SmallVector(other.begin(), other.end()) {}
    /// Leaves the other one empty.
    SmallVector(SmallVector&& other) noexcept { take(other); }
    /// A copy of each element; unchanged when memory runs out.
    SmallVector& operator=(const SmallVector& other) {
        if (this != &other) {
            *this = SmallVector(other);
        }
        return *this;
    }
    /// Leaves the other one empty.
    SmallVector& operator=(SmallVector&& other) noexcept {
        if (this != &other) {
            release();
            take(other);
        }
        return *this;
    }
    ~SmallVector() { release(); }

    std::size_t size() const noexcept { return size_; }          ///< number of elements
    bool empty() const noexcept { return size_ == 0; }           ///< whether there are none
    std::size_t capacity() const noexcept { return capacity_; }  ///< elements that fit without an allocation

    T* begin() noexcept { return elements_; }                    ///< the first element
    const T* begin() const noexcept { return elements_; }        ///< the first element
    T* end() noexcept { return elements_ + size_; }              ///< behind the last element
    const T* end() const noexcept { return elements_ + size_; }  ///< behind the last element

    T& operator[](std::size_t position) { return elements_[position]; }              ///< unchecked
    const T& operator[](std::size_t position) const { return elements_[position]; }  ///< unchecked
    T& front() { return elements_[0]; }                                              ///< unchecked
    const T& front() const { return elements_[0]; }                                  ///< unchecked
    T& back() { return elements_[size_ - 1]; }                                       ///< unchecked
    const T& back() const { return elements_[size_ - 1]; }                           ///< unchecked

    /// The element at the position; throws `std::out_of_range` when there is none.
    const T& at(std::size_t position) const {
        if (position >= size_) {
            throw std::out_of_range("SmallVector: no such element");
        }
        return elements_[position];
    }

    /// Removes the last element, of which there has to be one.
    void pop_back() noexcept { std::destroy_at(elements_ + --size_); }

    /// Removes all elements and keeps the memory.
    void clear() noexcept {
        std::destroy(begin(), end());
        size_ = 0;
    }

    /// Adds one element at the end, which may be a copy of one that is here.
    void push_back(T element) { emplace_back(std::move(element)); }

    /// The same, made in its place from the arguments, which may not be or view elements that are here.
    template <typename... Arguments>
    T& emplace_back(Arguments&&... arguments) {
        make_room_for(1);
        T* const place = std::construct_at(end(), std::forward<Arguments>(arguments)...);
        ++size_;
        return *place;
    }

    /// Adds a range's elements, which may not be this vector's own, at the end: all, or none when memory runs
    /// out.
    template <CountableIterator Iterator>
    void append(Iterator first, Iterator last) {
        const auto count = static_cast<std::size_t>(std::distance(first, last));
        make_room_for(count);
        std::uninitialized_copy(first, last, end());
        size_ += static_cast<std::uint32_t>(count);
    }

    /// Element by element.
    friend bool operator==(const SmallVector& left, const SmallVector& right) {
        return std::equal(left.begin(), left.end(), right.begin(), right.end());
    }
    /// By the first element that differs, then by length.
    friend auto operator<=>(const SmallVector& left, const SmallVector& right) {
        return std::lexicographical_compare_three_way(left.begin(), left.end(), right.begin(), right.end());
    }

  private:
    T* inside() noexcept { return reinterpret_cast<T*>(storage_); }
    bool is_inside() const noexcept { return capacity_ == inline_capacity; }

    void make_room_for(std::size_t count) {
        if (count > capacity_ - size_) {
            grow_to(std::max(size_ + count, std::size_t{2} * capacity_));
        }
    }

    void grow_to(std::size_t capacity) {
        if (capacity > std::numeric_limits<std::uint32_t>::max()) {
            throw std::length_error("SmallVector: too many elements");
        }
        T* const elements = std::allocator<T>().allocate(capacity);
        std::uninitialized_move(begin(), end(), elements);
        release();
        elements_ = elements;
        capacity_ = static_cast<std::uint32_t>(capacity);
    }

    /// Ends the elements and gives their memory back. What remains is for the caller to replace.
    void release() noexcept {
        std::destroy(begin(), end());
        if (!is_inside()) {
            std::allocator<T>().deallocate(elements_, capacity_);
        }
    }

    void take(SmallVector& other) noexcept {
        size_ = std::exchange(other.size_, 0);
        capacity_ = std::exchange(other.capacity_, inline_capacity);
        if (is_inside()) {
            elements_ = inside();
            std::uninitialized_move_n(other.elements_, size_, elements_);
            std::destroy_n(other.elements_, size_);
        } else {
            elements_ = std::exchange(other.elements_, other.inside());
        }
    }

    T* elements_ = inside();
    std::uint32_t size_ = 0;
    std::uint32_t capacity_ = inline_capacity;
    alignas(T) std::byte storage_[inline_capacity * sizeof(T)];
};

}  // namespace quarn::utils
