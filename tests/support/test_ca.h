#pragma once

#include <filesystem>
#include <string>

namespace quillon::test {

// A second host name that the test server certificate also covers. It resolves nowhere; tests
// point it at a local server through FetchOptions::resolve.
inline constexpr const char* otherTestHost = "other.test";

// A certificate authority made for this test run, and a server certificate it signed for
// "localhost", 127.0.0.1 and otherTestHost, as PEM files.
struct TestCertificates {
    std::filesystem::path caFile;
    std::filesystem::path certificateFile;
    std::filesystem::path keyFile;
};

// Made on first use and kept for the rest of the test process.
const TestCertificates& testCertificates();

} // namespace quillon::test
