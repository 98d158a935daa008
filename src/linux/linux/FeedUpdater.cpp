// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/FeedUpdater.h>

#include <base/Print.h>

#include <fmt/format.h>

#include <QByteArray>
#include <QMetaObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QUrl>
#include <QVariant>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace velmor {

namespace {

constexpr int statusOK = 200;
constexpr std::array redirectingStatuses = {301, 302, 303, 307, 308};
constexpr int mostRedirects = 3;

constexpr auto noTls = "This system has no support for secure connections.";
constexpr auto noAnswer = "The update server did not answer in time.";
constexpr auto unsafeRedirect = "The update server redirects to an address that is not secure.";
constexpr auto tooManyRedirects = "The update server redirects too often.";

QUrl urlOf(std::string_view address)
{
    return QUrl::fromEncoded(QByteArray(address.data(), static_cast<qsizetype>(address.size())),
                             QUrl::StrictMode);
}

bool isSafe(const QUrl& url)
{
    return url.isValid() && isSafeWebAddress(url.toEncoded().toStdString());
}

/// Says as little about the user as a request can.
QNetworkRequest requestFor(const QUrl& url, const QByteArray& userAgent)
{
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::UserAgentHeader, userAgent);
    request.setRawHeader("Accept", "application/json");
    // The user's language would be sent otherwise.
    request.setRawHeader("Accept-Language", "en");
    // What comes is what is counted: a small answer can't be unpacked to a large one.
    request.setRawHeader("Accept-Encoding", "identity");
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setProtocol(QSsl::TlsV1_2OrLater);
    tls.setPeerVerifyMode(QSslSocket::VerifyPeer);
    request.setSslConfiguration(tls);
    return request;
}

const char* lineFor(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::HostNotFoundError:
        return "The update server was not found.";
    case QNetworkReply::SslHandshakeFailedError:
        return "No secure connection to the update server could be made.";
    case QNetworkReply::RemoteHostClosedError:
        return "The connection to the update server broke off.";
    default:
        return "The update server cannot be reached.";
    }
}

} // namespace

/// Fetches one document of at most largestUpdateDocument bytes. Calls back once and is not to be destroyed
/// in the middle of that; destroyed before, it never calls back.
class FeedUpdater::Download final : public QObject
{
public:
    using Completion = std::function<void(const std::string&)>;

    Download(MainLoop& loop, double timeoutSeconds, QByteArray userAgent, Completion done, Completion failed)
        : m_userAgent(std::move(userAgent))
        , m_done(std::move(done))
        , m_failed(std::move(failed))
        , m_timeout(loop.every(timeoutSeconds, [this] { fail(noAnswer); }))
    {}
    ~Download() override { release(); }

    void start(const QUrl& url)
    {
        m_reply = m_manager.get(requestFor(url, m_userAgent));
        m_reply->setReadBufferSize(static_cast<qint64>(largestUpdateDocument) + 1);
        connect(m_reply, &QNetworkReply::metaDataChanged, this, [this] { takeHead(); });
        connect(m_reply, &QNetworkReply::readyRead, this, [this] { takeBody(); });
        connect(m_reply, &QNetworkReply::finished, this, [this] { takeEnd(); });
    }

private:
    void takeHead()
    {
        const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        const QUrl target = m_reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
        if (std::ranges::count(redirectingStatuses, status) > 0 && !target.isEmpty())
            return follow(m_reply->url().resolved(target));
        if (status != statusOK)
            return fail(fmt::format("The update server answers with the status {}.", status));
        const auto length = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        if (length > static_cast<qint64>(largestUpdateDocument))
            fail(UpdateFeedError(UpdateFeedProblem::tooLarge).what());
    }

    void follow(const QUrl& target)
    {
        if (!isSafe(target))
            return fail(unsafeRedirect);
        if (++m_redirects > mostRedirects)
            return fail(tooManyRedirects);
        release();
        start(target);
    }

    void takeBody()
    {
        const QByteArray bytes = m_reply->readAll();
        m_document.append(bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (m_document.size() > largestUpdateDocument)
            fail(UpdateFeedError(UpdateFeedProblem::tooLarge).what());
    }

    void takeEnd()
    {
        if (m_reply->error() != QNetworkReply::NoError)
            return fail(lineFor(m_reply->error()));
        takeBody();
        // It may have been too large.
        if (!m_reply)
            return;
        release();
        m_timeout.reset();
        m_done(m_document);
    }

    void fail(const std::string& reason)
    {
        release();
        m_timeout.reset();
        m_failed(reason);
    }

    /// The reply may be the one whose signal is being handled: it ends and goes later.
    void release()
    {
        if (!m_reply)
            return;
        QNetworkReply* const reply = std::exchange(m_reply, nullptr);
        reply->disconnect(this);
        QMetaObject::invokeMethod(reply, &QNetworkReply::abort, Qt::QueuedConnection);
        reply->deleteLater();
    }

    QByteArray m_userAgent;
    Completion m_done;
    Completion m_failed;
    std::string m_document;
    int m_redirects = 0;
    QNetworkAccessManager m_manager;
    QNetworkReply* m_reply = nullptr; ///< The manager's.
    Timer m_timeout;
};

FeedUpdater::FeedUpdater(MainLoop& loop, UpdateFeedSettings settings, double timeoutSeconds)
    : m_loop(loop)
    , m_settings(std::move(settings))
    , m_timeoutSeconds(timeoutSeconds)
{
    const auto key = publicKeyFromHex(m_settings.publicKey);
    if (!key || !isSafe(urlOf(m_settings.address)) || !isVersion(m_settings.currentVersion))
        return;
    m_key = *key;
    canCheckForUpdates = true;
}

FeedUpdater::~FeedUpdater() = default;

void FeedUpdater::checkForUpdates()
{
    if (!canCheckForUpdates)
        return;
    canCheckForUpdates = false;
    if (!QSslSocket::supportsSsl())
        return failed(noTls);
    m_download = std::make_unique<Download>(
        m_loop, m_timeoutSeconds, QByteArray::fromStdString("Velmor/" + m_settings.currentVersion),
        [this](const std::string& document) { take(document); },
        [this](const std::string& reason) { failed(reason); });
    m_download->start(urlOf(m_settings.address));
}

Subscription FeedUpdater::onOutcome(const std::function<void(const UpdateOutcome&)>& callback)
{
    return m_outcome.connect(callback);
}

void FeedUpdater::take(const std::string& document)
{
    try {
        finish(outcomeFor(readUpdateFeed(document, m_key), m_settings.currentVersion));
    } catch (const UpdateFeedError& error) {
        failed(error.what());
    }
}

void FeedUpdater::failed(const std::string& reason)
{
    finish(UpdateCheckFailure{reason});
}

/// In a later turn, when neither Qt nor the download is in the middle of something.
void FeedUpdater::finish(const UpdateOutcome& outcome)
{
    m_loop.post(m_lifetime.guarded([this, outcome] {
        m_download.reset();
        if (const auto* failure = std::get_if<UpdateCheckFailure>(&outcome))
            printLine("Update check failed: {}", failure->reason);
        canCheckForUpdates = true;
        m_outcome(outcome);
    }));
}

} // namespace velmor
