#include "tests/tools/qn-portal/check/CheckCases.h"
#include "tools/qn-portal/check/ScreenCheck.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace portal::check::test {

namespace {

class KitStage : public screens::Stage {
public:
    KitStage() : Stage(QString::fromUtf8(BUILT_BUNDLE), QString::fromUtf8(QN_PORTAL)) {}

    void write(const QString& resource, const QByteArray& bytes) const {
        QFile file(bundle() + u"/Contents/Resources/"_s + resource);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << resource.toStdString();
        file.write(bytes);
    }
    // In German, in the place of ours.
    void setText(const QByteArray& key, const QByteArray& text) const {
        const QString table = u"de.lproj/Localizable.strings"_s;
        QFile file(bundle() + u"/Contents/Resources/"_s + table);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        QByteArray lines = file.readAll();
        const qsizetype begin = lines.indexOf('"' + key + '"');
        ASSERT_GE(begin, 0) << key.toStdString();
        lines.replace(begin, lines.indexOf('\n', begin) - begin, '"' + key + "\" = \"" + text + "\";");
        write(table, lines);
    }
    void check(Findings& findings, const QStringList& languages) const {
        checkScreens(findings, u"Kit.app"_s, *this, languages);
    }
};

// Longer than any button, in any size of letters.
QByteArray longText() {
    return QByteArray("Die neueste Version jetzt herunterladen und installieren ").repeated(8).trimmed();
}

Case withText(const char* key, const QByteArray& text) {
    return {"bundle-text-fit", [key, text](Findings& findings) {
                const KitStage stage;
                stage.setText(key, text);
                stage.check(findings, {u"de"_s});
            }};
}

} // namespace

void checkGoodScreens(Findings& findings) {
    const KitStage stage;
    stage.check(findings, {u"de"_s, u"ja"_s, u"he"_s});
}

std::vector<Case> screenCases() {
    return {
        withText("MessageDownloadButtonText", longText()),
        withText("MessageInstallationFailed", QByteArray("Donaudampfschifffahrtsgesellschaft").repeated(8)),
        {"bundle-screens",
         [](Findings& findings) {
             const KitStage stage;
             stage.write(u"Base.lproj/QNErrorController.ui"_s, "<ui");
             stage.check(findings, {u"de"_s});
         }},
    };
}

TEST(ScreenCheck, NamesTextScreenLanguageAndScales) {
    Findings findings;
    const KitStage stage;
    stage.setText("MessageDownloadButtonText", longText());
    stage.check(findings, {u"de"_s});
    ASSERT_EQ(findings.all().size(), 1U);
    EXPECT_EQ(findings.all()[0].place.text(), u"Kit.app de download"_s);
    EXPECT_EQ(findings.all()[0].what(), u"The text \"%1\" is cut off on the screen download at every scale."_s.arg(
                                            QString::fromUtf8(longText())));
}

} // namespace portal::check::test
