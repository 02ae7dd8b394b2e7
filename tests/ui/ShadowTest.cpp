#include "ui/Shadow.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace {

// The shadow of a body of 300 by 200 points, alone.
QImage shadowOf(const QRect& body) {
    QImage picture(body.right() + 100, body.bottom() + 100, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    Shadow::paint(painter, QRectF(body), 8.0);
    return picture;
}

} // namespace

TEST(Shadow, FadesFromTheBodyToNothingWithoutAnEdge) {
    const QRect body(60, 60, 300, 200);
    const QImage picture = shadowOf(body);
    int last = picture.pixelColor(body.center().x(), body.bottom()).alpha();
    EXPECT_GT(last, 30);
    for (int below = 1; below <= Shadow::kMargin; ++below) {
        const int alpha = picture.pixelColor(body.center().x(), body.bottom() + below).alpha();
        EXPECT_LE(alpha, last) << below << " below the body";
        EXPECT_LE(last - alpha, 8) << "an edge " << below << " below the body";
        last = alpha;
    }
    EXPECT_LE(last, 2);
    EXPECT_EQ(picture.pixelColor(body.center().x(), body.bottom() + Shadow::kMargin + 9).alpha(), 0);
}

TEST(Shadow, LiesBelowTheBodyMoreThanAboveAndAlikeOnBothSides) {
    const QRect body(60, 60, 300, 200);
    const QImage picture = shadowOf(body);
    const auto alphaAt = [&](int x, int y) { return picture.pixelColor(x, y).alpha(); };
    EXPECT_GT(alphaAt(body.center().x(), body.bottom() + 6), alphaAt(body.center().x(), body.top() - 6));
    EXPECT_NEAR(alphaAt(body.left() - 6, body.center().y()), alphaAt(body.right() + 6, body.center().y()), 1);
}
