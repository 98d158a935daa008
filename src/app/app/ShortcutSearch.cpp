// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/ShortcutSearch.h>

#include <base/Text.h>

#include <algorithm>
#include <string>

namespace velmor {

namespace {

constexpr std::size_t fewestLetters = 3;
constexpr double relevanceOfAPart = 0.7;

/// Nobody types more; whoever sends more gets no answer.
constexpr std::size_t longestText = 256;

/// The words of a text in lower case, without punctuation. An apostrophe parts no word: "what's" and "whats"
/// are the same.
std::vector<std::string> wordsOf(std::string_view text)
{
    constexpr std::string_view curlyApostrophe = "\u2019";
    std::vector<std::string> words(1);
    std::string rest = lowerCase(text);
    for (auto at = rest.find(curlyApostrophe); at != std::string::npos; at = rest.find(curlyApostrophe))
        rest.erase(at, curlyApostrophe.size());
    for (const char c : rest) {
        // Letters beyond ASCII are letters too, of words that no phrase has.
        const bool isLetter =
            (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || static_cast<unsigned char>(c) >= 0x80;
        if (isLetter)
            words.back() += c;
        else if (c != '\'' && !words.back().empty())
            words.emplace_back();
    }
    if (words.back().empty())
        words.pop_back();
    return words;
}

bool fits(const std::vector<std::string>& typed, const std::vector<std::string>& phrase)
{
    return std::ranges::all_of(typed, [&](const std::string& begin) {
        return std::ranges::any_of(phrase, [&](const std::string& word) { return word.starts_with(begin); });
    });
}

bool isRead(const VelmorAppShortcut& shortcut)
{
    return shortcut.intent == GetCurrentSPLIntent::name || shortcut.intent == GetTodaysDoseIntent::name ||
           shortcut.intent == GetMonitoringStatsIntent::name;
}

} // namespace

ShortcutSearch::ShortcutSearch(const VelmorIntentSupport& support, IntentActions& actions)
    : m_support(support)
    , m_actions(actions)
{}

std::vector<SearchResult> ShortcutSearch::find(std::string_view text) const
{
    const auto typed = text.size() <= longestText ? wordsOf(text) : std::vector<std::string>();
    std::size_t letters = 0;
    for (const std::string& word : typed)
        letters += word.size();
    std::vector<SearchResult> results;
    if (letters < fewestLetters)
        return results;
    for (const VelmorAppShortcut& shortcut : velmorAppShortcuts) {
        double relevance = 0;
        for (std::size_t i = 0; i < shortcut.phrases.size(); ++i) {
            const auto phrase = wordsOf(shortcut.phrase(i));
            if (phrase == typed)
                relevance = 1;
            else if (fits(typed, phrase))
                relevance = std::max(relevance, relevanceOfAPart);
        }
        if (relevance > 0) {
            results.push_back(shown(shortcut));
            results.back().relevance = relevance;
        }
    }
    std::ranges::stable_sort(results, std::ranges::greater(), &SearchResult::relevance);
    return results;
}

std::optional<SearchResult> ShortcutSearch::result(std::string_view id) const
{
    const auto shortcut = std::ranges::find(velmorAppShortcuts, id, &VelmorAppShortcut::intent);
    return shortcut != velmorAppShortcuts.end() ? std::optional(shown(*shortcut)) : std::nullopt;
}

SearchResult ShortcutSearch::shown(const VelmorAppShortcut& shortcut) const
{
    SearchResult result;
    result.id = shortcut.intent;
    result.title = shortcut.shortTitle;
    result.subtitle = shortcut.phrase(0);
    if (isRead(shortcut)) {
        try {
            result.title = performIntent(shortcut.intent, m_support).value_or("");
        } catch (const VelmorIntentError& error) {
            result.title = error.what();
        }
        result.subtitle = shortcut.shortTitle;
    }
    return result;
}

} // namespace velmor
