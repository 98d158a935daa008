// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/KeyFile.h>

#include <base/FileText.h>

#include <glib.h>

#include <utility>

namespace velmor {

namespace {

GKeyFile* raw(const auto& handle)
{
    return static_cast<GKeyFile*>(handle.get());
}

std::optional<std::string> taken(char* text)
{
    if (!text)
        return std::nullopt;
    std::string copy = text;
    ::g_free(text);
    return copy;
}

} // namespace

void KeyFile::Free::operator()(void* keyFile) const
{
    ::g_key_file_free(static_cast<GKeyFile*>(keyFile));
}

KeyFile::KeyFile(Handle handle)
    : m_handle(std::move(handle))
{}

std::optional<KeyFile> KeyFile::fromText(std::string_view text)
{
    Handle handle(::g_key_file_new());
    if (text.empty() || !::g_key_file_load_from_data(raw(handle), text.data(), text.size(),
                                                     G_KEY_FILE_KEEP_TRANSLATIONS, nullptr))
        return std::nullopt;
    return KeyFile(std::move(handle));
}

std::optional<KeyFile> KeyFile::read(const std::filesystem::path& file)
{
    std::error_code error;
    return fromText(fileText(file, error));
}

std::optional<std::string> KeyFile::text(const char* group, const char* key) const
{
    return taken(::g_key_file_get_string(raw(m_handle), group, key, nullptr));
}

std::optional<std::string> KeyFile::localText(const char* group, const char* key) const
{
    return taken(::g_key_file_get_locale_string(raw(m_handle), group, key, nullptr, nullptr));
}

std::optional<bool> KeyFile::flag(const char* group, const char* key) const
{
    GError* error = nullptr;
    const bool value = ::g_key_file_get_boolean(raw(m_handle), group, key, &error) != 0;
    if (error) {
        ::g_error_free(error);
        return std::nullopt;
    }
    return value;
}

} // namespace velmor
