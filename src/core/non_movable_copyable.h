#pragma once

namespace korvex {

/// Base of classes that must not be copied.
class NonCopyable
{
public:
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;

protected:
    NonCopyable() = default;
    ~NonCopyable() = default;
};

/// Base of classes that must not be moved.
class NonMovable
{
public:
    NonMovable(NonMovable&&) = delete;
    NonMovable& operator=(NonMovable&&) = delete;

protected:
    NonMovable() = default;
    ~NonMovable() = default;
};

/// Base of classes that stay where they were made.
class NonMovableCopyable : private NonMovable, private NonCopyable
{
protected:
    NonMovableCopyable() = default;
    ~NonMovableCopyable() = default;
};

} // namespace korvex
