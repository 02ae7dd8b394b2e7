#include "platform/base/TransportError.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(TransportError, IsWrittenWithDomainCodeSentenceAndUserInfo) {
    EXPECT_EQ((TransportError{TransportError::kCannotConnect, u"http://127.0.0.1:1/c"_s}.text()),
              u"Error Domain=NSURLErrorDomain Code=-1004 \"Could not connect to the server.\" "
              "UserInfo={NSErrorFailingURLStringKey=http://127.0.0.1:1/c, NSLocalizedDescription=Could not connect to "
              "the server.}"_s);
}

TEST(TransportError, LeavesTheAddressOutWhenThereWasNone) {
    EXPECT_EQ(
        (TransportError{TransportError::kUnsupportedAddress, QString()}.text()),
        u"Error Domain=NSURLErrorDomain Code=-1002 \"unsupported URL\" UserInfo={NSLocalizedDescription=unsupported "
        "URL}"_s);
}

TEST(TransportError, CarriesThePublishedSentences) {
    const std::pair<TransportError::Code, QString> rows[] = {
        {TransportError::kCancelled, u"cancelled"_s},
        {TransportError::kTimedOut, u"The request timed out."_s},
        {TransportError::kCannotFindHost, u"A server with the specified hostname could not be found."_s},
        {TransportError::kConnectionLost, u"The network connection was lost."_s},
        {TransportError::kTooManyRedirects, u"too many HTTP redirects"_s},
        {TransportError::kNotConnected, u"The Internet connection appears to be offline."_s},
        {TransportError::kFileDoesNotExist, u"The requested URL was not found on this server."_s},
    };
    for (const auto& [code, sentence] : rows) {
        EXPECT_EQ((TransportError{code, QString()}.localizedDescription()), sentence);
    }
}

TEST(TransportError, TellsTheSystemsDomainAndSentenceWhereItGaveThem) {
    TransportError error{TransportError::kTimedOut, u"https://h/x"_s};
    error.code = static_cast<TransportError::Code>(2);
    error.domain = u"NSPOSIXErrorDomain"_s;
    error.sentence = u"No such file or directory"_s;
    EXPECT_EQ(error.text(), u"Error Domain=NSPOSIXErrorDomain Code=2 \"No such file or directory\" "
                            u"UserInfo={NSErrorFailingURLStringKey=https://h/x, "
                            u"NSLocalizedDescription=No such file or directory}"_s);
}
