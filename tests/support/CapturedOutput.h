// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Print.h>

#include <gtest/gtest.h>

#include <iostream>
#include <string>

namespace velmor::test {

/// Keeps the services' lines out of a test's output.
class QuietLines
{
public:
    QuietLines() { setPrintedLines(PrintedLines::nowhere); }
    ~QuietLines() { setPrintedLines(PrintedLines::onStandardOutput); }
    QuietLines(const QuietLines&) = delete;
    QuietLines& operator=(const QuietLines&) = delete;
};

/// Takes what is printed on standard output. What a test that fails has to say shows at its end.
class CapturedOutput
{
public:
    CapturedOutput() { testing::internal::CaptureStdout(); }
    ~CapturedOutput()
    {
        const std::string rest = m_isTaken ? "" : testing::internal::GetCapturedStdout();
        if (testing::Test::HasFailure())
            std::cout << m_text << rest;
    }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    /// What was printed so far; from here on nothing is taken any more.
    const std::string& text()
    {
        if (!m_isTaken) {
            m_isTaken = true;
            m_text = testing::internal::GetCapturedStdout();
        }
        return m_text;
    }

private:
    bool m_isTaken = false;
    std::string m_text;
};

} // namespace velmor::test
