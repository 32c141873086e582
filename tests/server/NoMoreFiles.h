#pragma once

#include "core/automation/Errors.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

/// While it lives this process can open no further file.
class NoMoreFiles
{
public:
    NoMoreFiles()
    {
        // A sanitizer opens a pipe to look at the first object of a kind, such as an exception.
        EXPECT_THROW(throw DescribedError({}), DescribedError);
        getrlimit(RLIMIT_NOFILE, &m_Before);
        const rlimit none{0, m_Before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    NoMoreFiles(const NoMoreFiles&) = delete;
    NoMoreFiles& operator=(const NoMoreFiles&) = delete;
    ~NoMoreFiles() { setrlimit(RLIMIT_NOFILE, &m_Before); }

private:
    rlimit m_Before{};
};
