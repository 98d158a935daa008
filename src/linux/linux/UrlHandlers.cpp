// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/UrlHandlers.h>

#include <gio/gio.h>

namespace velmor {

bool hasUrlHandler(const std::string& url)
{
    char* const scheme = g_uri_parse_scheme(url.c_str());
    if (!scheme)
        return false;
    GAppInfo* const handler = g_app_info_get_default_for_uri_scheme(scheme);
    g_free(scheme);
    if (!handler)
        return false;
    g_object_unref(handler);
    return true;
}

} // namespace velmor
