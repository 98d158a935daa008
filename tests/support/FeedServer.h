// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/SoftwareUpdater.h>
#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QString>
#include <QTcpSocket>
#include <QTimer>

#include <sodium.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmor::test {

/// The secret key of the first test vector in RFC 8032, 7.1.
inline constexpr std::array<unsigned char, 32> secretKey = {
    0x9d, 0x61, 0xb1, 0x9d, 0xef, 0xfd, 0x5a, 0x60, 0xba, 0x84, 0x4a, 0xf4, 0x92, 0xec, 0x2c, 0xc4,
    0x44, 0x49, 0xc5, 0x69, 0x7b, 0x32, 0x69, 0x19, 0x70, 0x3b, 0xac, 0x03, 0x1c, 0xae, 0x7f, 0x60};
inline const std::string publicKey = "d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a";

inline std::string signatureOver(const std::string& text)
{
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> ofPublicKey{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> ofSecretKey{};
    ::crypto_sign_seed_keypair(ofPublicKey.data(), ofSecretKey.data(), secretKey.data());
    const std::string message = "velmor-update-feed\n" + text;
    QByteArray signature(crypto_sign_BYTES, '\0');
    ::crypto_sign_detached(reinterpret_cast<unsigned char*>(signature.data()), nullptr,
                           reinterpret_cast<const unsigned char*>(message.data()), message.size(),
                           ofSecretKey.data());
    return signature.toBase64().toStdString();
}

/// A feed with a version, whose signature is that of a feed with another one where they differ.
inline std::string feedWith(const std::string& version, const std::string& signedVersion)
{
    const auto textWith = [](const std::string& number) {
        return R"({'version':')" + number + R"(','notes':'Calmer.','page':'https://velmor.example/new'})";
    };
    const auto json = [](std::string text, const std::string& quote) {
        for (std::size_t at = text.find('\''); at != std::string::npos; at = text.find('\'', at))
            text.replace(at, 1, quote);
        return text;
    };
    return R"({"feed":")" + json(textWith(version), "\\\"") + R"(","signature":")" +
           signatureOver(json(textWith(signedVersion), "\"")) + "\"}";
}

inline std::string feedWith(const std::string& version)
{
    return feedWith(version, version);
}

inline const UpdateOutcome newer = AvailableUpdate{"2.0", "Calmer.", "https://velmor.example/new"};

UpdateOutcome failure(const std::string& reason)
{
    return UpdateCheckFailure{reason};
}

/// A certificate that has signed itself, and its key.
struct Identity
{
    QSslCertificate certificate;
    QSslKey key;
};

Identity makeIdentity(const std::string& name)
{
    const test::TemporaryFolder folder;
    const auto made =
        test::run({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                   "-nodes", "-days", "2", "-subj", "/CN=Velmor test", "-addext", "subjectAltName=" + name,
                   "-keyout", folder / "key", "-out", folder / "certificate"});
    if (made.status != 0)
        throw std::runtime_error("openssl made no certificate: " + made.error);
    return {QSslCertificate(QByteArray::fromStdString(test::contentOf(folder / "certificate"))),
            QSslKey(QByteArray::fromStdString(test::contentOf(folder / "key")), QSsl::Ec)};
}

inline const Identity& trustedIdentity()
{
    static const Identity identity = makeIdentity("IP:127.0.0.1");
    return identity;
}

/// What a server does with a request.
using Answer = std::function<void(QTcpSocket& connection)>;

inline void send(QTcpSocket& connection, const std::string& bytes)
{
    connection.write(bytes.data(), static_cast<qint64>(bytes.size()));
}

inline Answer bytesAndTheEnd(const std::string& bytes)
{
    return [bytes](QTcpSocket& connection) {
        send(connection, bytes);
        connection.disconnectFromHost();
    };
}

inline std::string head(const std::string& status, const std::string& fields)
{
    return "HTTP/1.1 " + status + "\r\n" + fields + "Connection: close\r\n\r\n";
}

inline std::string lengthField(std::size_t length)
{
    return "Content-Length: " + std::to_string(length) + "\r\n";
}

inline Answer document(const std::string& body)
{
    return bytesAndTheEnd(head("200 OK", lengthField(body.size())) + body);
}

inline Answer redirect(const std::string& target, const std::string& status = "302 Found")
{
    return bytesAndTheEnd(head(status, "Location: " + target + "\r\nContent-Length: 0\r\n"));
}

inline Answer silence()
{
    return [](QTcpSocket&) {};
}

/// Sends as long as somebody takes it.
inline Answer endless(const std::string& fields)
{
    return [fields](QTcpSocket& connection) {
        send(connection, head("200 OK", fields));
        auto* const pump = new QTimer(&connection);
        QObject::connect(pump, &QTimer::timeout, &connection, [&connection] {
            if (connection.bytesToWrite() < 1'000'000)
                send(connection, std::string(100'000, ' '));
        });
        pump->start(0);
    };
}

/// A web server on this computer.
class FeedServer
{
public:
    explicit FeedServer(const Identity& identity = trustedIdentity())
    {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setLocalCertificate(identity.certificate);
        tls.setPrivateKey(identity.key);
        m_server.setSslConfiguration(tls);
        QObject::connect(&m_server, &QTcpServer::pendingConnectionAvailable, &m_server, [this] {
            while (QTcpSocket* connection = m_server.nextPendingConnection())
                serve(*connection);
        });
        if (!m_server.listen(QHostAddress::LocalHost))
            throw std::runtime_error("no port to listen on");
    }

    std::string address(const std::string& path = "/feed") const
    {
        return "https://127.0.0.1:" + std::to_string(m_server.serverPort()) + path;
    }

    void answer(const std::string& path, Answer answer) { m_answers[path] = std::move(answer); }

    std::vector<std::string> requests; ///< Heads of all that came.

private:
    void serve(QTcpSocket& connection)
    {
        const auto request = std::make_shared<std::string>();
        const auto read = [this, &connection, request] {
            *request += connection.readAll().toStdString();
            if (!request->ends_with("\r\n\r\n"))
                return;
            requests.push_back(std::exchange(*request, {}));
            const std::string& line = requests.back();
            const std::size_t begin = line.find(' ') + 1;
            m_answers.at(line.substr(begin, line.find(' ', begin) - begin))(connection);
        };
        QObject::connect(&connection, &QTcpSocket::readyRead, &connection, read);
        if (connection.bytesAvailable() > 0)
            read();
    }

    std::map<std::string, Answer> m_answers;
    QSslServer m_server;
};

} // namespace velmor::test
