#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// `qn-portal serve` as a process of its own, in a temporary folder.
class ServeProgram {
public:
    // Waits for its line. Throws std::runtime_error when it ends without one.
    explicit ServeProgram(const std::vector<std::string>& arguments);
    // Ends it.
    ~ServeProgram();
    ServeProgram(const ServeProgram&) = delete;
    ServeProgram& operator=(const ServeProgram&) = delete;

    const nlohmann::json& addresses() const { return addresses_; }
    const std::string& folder() const { return folder_; }
    // Sends these bytes, and gives what comes until it ends with `last` or the connection does.
    std::string request(const std::string& bytes, const std::string& last) const;
    // SIGTERM; gives the exit status.
    int end();

    struct Outcome {
        int status;
        std::string output;
    };
    // One that ends by itself.
    static Outcome run(const std::vector<std::string>& arguments);
    static Outcome runVerb(const std::string& verb, const std::vector<std::string>& arguments);

private:
    std::string folder_;
    nlohmann::json addresses_;
    int process_ = -1;
    int output_ = -1;
};
