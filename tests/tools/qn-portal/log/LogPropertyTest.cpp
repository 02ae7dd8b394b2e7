#include "logging/QNLogger.h"
#include "logging/Timestamp.h"
#include "sysinfo/QNPortalProvider.h"
#include "tests/support/TestEnvironment.h"
#include "tests/tools/qn-portal/log/LogText.h"

#include <gtest/gtest.h>

#include <random>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMessages = 100'000;

const LogContext kContext{
    {u"language"_s, u"en"_s}, {u"country"_s, u"US"_s},      {u"locale"_s, u"en-US"_s},
    {u"file"_s, u"F.cpp"_s},  {u"function"_s, u"-[C f]"_s}, {u"line"_s, u"7"_s},
};

const QString kTail = u", \"lang\": \"en\", \"country\": \"US\", \"locale\": \"en-US\", \"file\": \"F.cpp\", "
                      "\"fn\": \"-[C f]\", \"line\": \"7\" }"_s;

// Messages that are hard to read back. A piece never touches the next one: the end of a line directly in front of the
// beginning of another one is the one thing that no reader can take for a message.
class Messages {
public:
    QString next() {
        QString message;
        const int pieces = number(0, 6);
        for (int i = 0; i < pieces; ++i) {
            message += piece();
            message += letter();
        }
        if (pieces > 0 && number(0, 1) == 0) {
            message.chop(1);
        }
        last_ = head(u"2001-01-01T00:00:00Z"_s, QNPortalProvider::getCi().value_or(QString())) + u"\" "_s + message +
                u"\""_s + kTail + u"\r\n"_s;
        if (message.size() > 3000) {
            last_.clear(); // quotes of quotes end somewhere
        }
        return message;
    }

private:
    int number(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }
    QChar letter() { return QChar(u'a' + number(0, 25)); }

    static QString head(const QString& time, const QString& identifier) {
        return u"{ \"time\": \"%1\",\"ci\": \"%2\", \"trace\": \"DEBUG\", \"message\":"_s.arg(time, identifier);
    }

    QString text() {
        QString result;
        for (int i = number(0, 20); i > 0; --i) {
            const char32_t ranges[][2] = {{0, 0x7F}, {0x20, 0x7E}, {0x80, 0x7FF}, {0x800, 0xD7FF}, {0x10000, 0x10FFFF}};
            const auto& range = ranges[number(0, 4)];
            const auto point = static_cast<char32_t>(number(static_cast<int>(range[0]), static_cast<int>(range[1])));
            result += QString::fromUcs4(&point, 1);
        }
        return result;
    }

    QString piece() {
        const QString line = u"\""_s + kTail;
        switch (number(0, 10)) {
        case 0:
            return line.left(number(0, static_cast<int>(line.size())));
        case 1:
            return line + u"\r\n"_s;
        case 2:
            return line.mid(number(0, static_cast<int>(line.size()))) + u"\r\n"_s;
        case 3:
            return head(u"2001-01-01T00:00:00Z"_s, QNPortalProvider::getCi().value_or(QString()));
        case 4:
            return head(u"2099-01-01T00:00:00Z"_s, u"another-identifier"_s) + u"\" "_s;
        case 5:
            return last_;
        case 7: // a whole line that this very program could have written just now
            return head(currentTimestamp(), QNPortalProvider::getCi().value_or(QString())) + u"\" "_s + text() + line +
                   u"\r\n"_s;
        case 6:
            return QStringList{u"\""_s,
                               u"\r\n"_s,
                               u"\n"_s,
                               u"\\"_s,
                               u"\" }\r\n"_s,
                               u"{ \"time\": \""_s,
                               u"\", \"lang\": \""_s}[number(0, 6)];
        default:
            return text();
        }
    }

    std::mt19937 random_{20'261'121};
    QString last_;
};

} // namespace

TEST(LogProperty, ReadsAHundredThousandRandomMessagesOfTheInstallersLoggerBackExactly) {
    test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
    test::setSetting(u"kQNApplicationDataPathProd"_s, u"/Data"_s);
    std::vector<std::string> written;
    Messages messages;
    for (int i = 0; i < kMessages; ++i) {
        const QString message = messages.next();
        // The logger masks the login name wherever it stands.
        written.push_back(QNLogger::maskPIIDataInMessage(message).toStdString());
        QNLogger::debug(message, kContext);
    }
    const auto read = test::entriesOf(test::readFile(test::home() + u"/Data/Logs/install.log"_s).toStdString());
    ASSERT_EQ(read.size(), written.size());
    for (std::size_t i = 0; i < read.size(); ++i) {
        ASSERT_EQ(read[i].message, written[i]) << i;
        ASSERT_FALSE(read[i].isCut) << i;
        ASSERT_EQ(read[i].fields.size(), 6U) << i;
    }
}
