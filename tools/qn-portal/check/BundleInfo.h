#pragma once

#include "tools/qn-portal/check/Finding.h"

#include <QString>
#include <QVariantMap>

namespace portal::check {

// The information list of a bundle, or of a brand's folder, where it lies at the top; and where in the file something
// stands.
class BundleInfo {
public:
    explicit BundleInfo(const QString& path, bool isBrand = false);

    const QString& path() const { return path_; }
    bool isBrand() const { return isBrand_; }
    // Where the tables of texts are.
    QString resources() const { return isBrand_ ? path_ : path_ + QLatin1String("/Contents/Resources"); }
    // As the installer reads it; empty when it is missing or damaged.
    const QVariantMap& top() const { return top_; }
    // Of a key at any level; without a line for a binary list, and for a key that is not there.
    Place place(const QString& key) const;

private:
    QString path_;
    bool isBrand_;
    QString file_;
    QVariantMap top_;
    QString text_;
};

} // namespace portal::check
