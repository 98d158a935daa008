// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/FeedUpdater.h>
#include <linux/QtMainLoop.h>
#include <support/CapturedOutput.h>
#include <support/FeedServer.h>
#include <support/UpdateOutcomes.h>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkProxy>
#include <QSslConfiguration>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace velmor::test {

class FeedUpdaterTest : public testing::Test
{
protected:
    FeedUpdaterTest()
    {
        QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
        // The test's authority is the only one.
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setCaCertificates({trustedIdentity().certificate});
        QSslConfiguration::setDefaultConfiguration(tls);
    }

    void make(const std::string& address, double timeoutSeconds = 10)
    {
        updater = std::make_unique<FeedUpdater>(loop, UpdateFeedSettings{address, publicKey, "1.2.3"},
                                                timeoutSeconds);
        m_outcomes = updater->onOutcome([this](const UpdateOutcome& outcome) {
            outcomes.push_back(outcome);
            couldCheckAtOutcome = updater->canCheckForUpdates;
        });
    }

    static bool runUntil(const std::function<bool()>& isDone, int milliseconds = 10000)
    {
        QElapsedTimer clock;
        clock.start();
        while (!isDone() && clock.elapsed() < milliseconds)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return isDone();
    }

    /// Long enough for whatever is on its way.
    static void settle()
    {
        runUntil([] { return false; }, 100);
    }

    /// One check of the address.
    UpdateOutcome outcomeAt(const std::string& address, double timeoutSeconds = 10)
    {
        const test::QuietLines quiet;
        make(address, timeoutSeconds);
        updater->checkForUpdates();
        const std::size_t before = outcomes.size();
        if (!runUntil([&] { return outcomes.size() > before; }))
            return failure("the updater says nothing");
        settle();
        EXPECT_EQ(outcomes.size(), before + 1);
        EXPECT_TRUE(updater->canCheckForUpdates);
        return outcomes.back();
    }

    /// One check of a server that answers like that.
    UpdateOutcome outcomeOf(Answer answer, double timeoutSeconds = 10)
    {
        server.answer("/feed", std::move(answer));
        return outcomeAt(server.address(), timeoutSeconds);
    }

    int argumentCount = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
    QtMainLoop loop;
    FeedServer server;
    std::unique_ptr<FeedUpdater> updater;
    std::vector<UpdateOutcome> outcomes;
    bool couldCheckAtOutcome = false;

private:
    Subscription m_outcomes;
};

} // namespace velmor::test
