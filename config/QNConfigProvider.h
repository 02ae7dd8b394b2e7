#pragma once

#include "platform/base/TransportError.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>

class QNConfig;

// The bundle's settings, and the configuration document of the server that they name.
//
// The settings are the bundle's information list, which is never written. Its top-level "QNEnv" ("dev1", "qa1", "beta",
// anything else is production) decides which address and paths apply; all other settings lie in its dictionary
// "QNConfig". A missing setting is absent, never an error.
//
// Threads: any.
class QNConfigProvider {
public:
    // The information list, top level.
    static QVariantMap getPlist();
    // The dictionary "QNConfig". Kept once it was found, with one console line; a missing one is looked for, and told
    // of, at each call.
    static std::optional<QVariantMap> getPortalConfig();
    // As stored; of a number or a truth value the text (true is "1"). Dates, data, lists and dictionaries are absent.
    static std::optional<QString> getStringFromPlist(const QString& key);
    // The same with every "&amp;" replaced by "&".
    static std::optional<QString> getUrlPlist(const QString& key);
    // "qn" when the settings name none. Worked out once.
    static QString getPortalType();

    // These three depend on the environment, which is read anew at each call.
    static std::optional<QString> getConfigUrl();
    // Begins with "/": it follows the home directory directly.
    static std::optional<QString> getEnvSpecificAppDataPath();
    static std::optional<QString> getEnvSpecificBinaryName();

    // The address of an action in the program's own scheme: "qnd://install". Also written to the console.
    static QString getAction(const QString& action);

    // The model and no error; the error of the transfer; or neither, when the document was no good.
    using Completion = std::function<void(std::shared_ptr<QNConfig>, std::optional<TransportError>)>;

    // Fetches the document, each time anew; the first command-line argument is the address when it has a scheme and a
    // host. Returns at once. The answer is worked on, and "CHANGE_ANALYTICS_URL" posted, on the request's own thread;
    // `completion` is called exactly once, on the main thread's queue. Without a completion nothing is done at all.
    // Does not look at the answer's status and does not try again.
    static void loadConfigWithCompletion(Completion completion);
};
