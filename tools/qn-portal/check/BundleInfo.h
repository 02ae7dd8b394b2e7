#pragma once

#include "tools/qn-portal/check/Finding.h"

#include <QString>
#include <QVariantMap>

namespace portal::check {

// A bundle's information list, and where in the file something stands.
class BundleInfo {
public:
    explicit BundleInfo(const QString& path);

    const QString& path() const { return path_; }
    // As the installer reads it; empty when it is missing or damaged.
    const QVariantMap& top() const { return top_; }
    // Of a key at any level; without a line for a binary list, and for a key that is not there.
    Place place(const QString& key) const;

private:
    QString path_;
    QVariantMap top_;
    QString text_;
};

} // namespace portal::check
