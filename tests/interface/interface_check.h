#pragma once

#include <gtest/gtest.h>

/// Holds that a class has an operation of exactly this type. Taking its address makes the linker look for it, so that an
/// operation which the library does not export fails the build.
template <typename function_t, typename class_t>
void offers(function_t class_t::*operation)
{
    function_t class_t::*volatile kept = operation;
    EXPECT_TRUE(kept != nullptr);
}

/// The same of static operations and free functions.
template <typename function_t>
void offers(function_t* operation)
{
    function_t* volatile kept = operation;
    EXPECT_TRUE(kept != nullptr);
}
