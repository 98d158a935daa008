// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/SavePanel.h>

#include <vector>

namespace velmor::test {

/// A user who answers every panel in the same way.
struct FakeSavePanel final : SavePanel
{
    std::optional<std::filesystem::path> place; ///< Absent for a user who cancels.
    std::vector<SaveRequest> requests;

    bool hesitates = false; ///< Whoever does is answered for by `late`.
    Answer late;

    void ask(const SaveRequest& request, Answer answer) override
    {
        requests.push_back(request);
        if (hesitates)
            late = std::move(answer);
        else
            answer(place);
    }
};

} // namespace velmor::test
