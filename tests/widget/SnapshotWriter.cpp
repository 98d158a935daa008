// SPDX-License-Identifier: GPL-3.0-or-later
// Writes records one after the other, each committed: velmor-snapshot-writer FILE COUNT
#include <integrations/VelmorWidgetSnapshot.h>
#include <linux/PollMainLoop.h>
#include <linux/SqliteDefaultsStore.h>
#include <support/NumberedSnapshot.h>

#include <string>

int main(int, char** arguments)
{
    using namespace velmor;
    PollMainLoop loop;
    SqliteDefaultsStore suite(loop, arguments[1]);
    const int count = std::stoi(arguments[2]);
    for (int i = 1; i <= count; ++i) {
        test::numberedSnapshot(i).save(suite);
        suite.flush();
    }
}
