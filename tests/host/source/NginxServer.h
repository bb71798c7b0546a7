// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

// A listening TCP socket on a free port of 127.0.0.1, which is stored. The caller closes it.
int ListenOnLoopback(int* port);

// An nginx of its own on a free port of 127.0.0.1, with its configuration, logs and documents in a temporary
// folder. One process, a child of the test; it ends with this object, and with the test should that crash.
class NginxServer {
  public:
    // `settings`: directives for the server. The folder "docs" holds the documents and is served at "/".
    explicit NginxServer(const std::string& settings = "");
    ~NginxServer();
    NginxServer(const NginxServer&) = delete;

    // Puts a document in place, atomically.
    void put(const std::string& name, const std::string& content) const;
    // "http://127.0.0.1:port" + path
    std::string url(const std::string& path) const { return address_ + path; }
    // Ends the process at once, its connections with it.
    void kill();

  private:
    bool start(const std::string& settings);

    std::filesystem::path folder_;
    std::string address_;
    pid_t pid_ = -1;
};
