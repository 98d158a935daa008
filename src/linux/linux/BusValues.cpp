// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/BusValues.h>

#include <QDBusMetaType>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <cstdint>
#include <vector>

namespace velmor {

namespace {

struct ToVariant
{
    QVariant operator()(bool flag) const { return flag; }
    QVariant operator()(std::int64_t number) const { return QVariant::fromValue<qlonglong>(number); }
    QVariant operator()(double number) const { return number; }
    QVariant operator()(const std::string& value) const { return qText(value); }
    QVariant operator()(const std::vector<std::string>& values) const
    {
        QStringList list;
        for (const std::string& value : values)
            list.push_back(qText(value));
        return list;
    }
    QVariant operator()(const std::vector<std::int64_t>& numbers) const
    {
        QList<qlonglong> list;
        for (const std::int64_t number : numbers)
            list.push_back(number);
        return QVariant::fromValue(list);
    }
    QVariant operator()(const BusDictionary& dictionary) const { return map(dictionary); }
    QVariant operator()(const std::vector<BusDictionary>& dictionaries) const
    {
        QList<QVariantMap> list;
        for (const BusDictionary& dictionary : dictionaries)
            list.push_back(map(dictionary));
        return QVariant::fromValue(list);
    }

    static QVariantMap map(const BusDictionary& dictionary)
    {
        QVariantMap result;
        for (const auto& [key, value] : dictionary)
            result.insert(qText(key), std::visit(ToVariant(), value));
        return result;
    }
};

} // namespace

QString qText(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::string text(const QString& text)
{
    return text.toStdString();
}

void registerBusTypes()
{
    qDBusRegisterMetaType<QList<QVariantMap>>();
}

QVariant variantFrom(const BusValue& value)
{
    return std::visit(ToVariant(), value);
}

BusValue valueFrom(const QVariant& variant)
{
    switch (variant.typeId()) {
    case QMetaType::Bool:
        return variant.toBool();
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Int:
    case QMetaType::UInt:
        return std::int64_t(variant.toLongLong());
    case QMetaType::Double:
        return variant.toDouble();
    case QMetaType::QString:
        return text(variant.toString());
    case QMetaType::QStringList: {
        std::vector<std::string> values;
        for (const QString& value : variant.toStringList())
            values.push_back(text(value));
        return values;
    }
    default:
        return BusDictionary();
    }
}

} // namespace velmor
