// DDS Security end to end: the real qorddsping with Fast DDS's built-in security plugins, on
// private hosts, with the throw-away PKI of tests/security/make-test-pki (made once per test
// process in a scratch directory, removed afterwards): identities alice and bob signed by the
// test CA, mallory signed by another CA; PingTopic in domain 0, discovery and data encrypted,
// whole messages signed (QOR_TEST_RTPS_PROTECTION=NONE or ENCRYPT in the environment changes
// that).
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <cctype>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/support/lines.h"
#include "tests/e2e/support/ping_run.h"
#include "tests/e2e/support/private_host.h"

namespace {

using qortest::body;
using qortest::concat;
using qortest::expectEnded;
using qortest::joined;
using qortest::Lines;
using qortest::PrivateHost;
using qortest::Process;
using qortest::splitLines;
using qortest::starting;
using qortest::startListening;
using qortest::timeoutLine;

const double GENEROUS = 60;  // seconds any run may take before it counts as hung
const char* const LISTENING = "qorddsping is listening for data, press CTRL+C to stop it.";
const char* const ISSUED = "qorddsping, issue received: ";
const char* const MISSED = "Detected Missed Sample(s)";
const char* const SAMPLE_LOST = "DataListener::on_sample_lost !!!!";
const char* const FOUND_PUBLISHER = "Found 1 additional ping publishers(s).";
const char* const LOST_PUBLISHER = "Detected loss of 1 ping publishers(s).";
// Fast DDS's warning when a handshake brings a certificate that the local CA did not sign.
const char* const REFUSED = "WARNING [SECURITY] Error verifying certificate";
// The secured subscriber's user-traffic port over UDPv4 with -index 0 in domain 0.
const char* const SUBSCRIBER_PORT = "7411";

std::string issueLine(int number) {
    char line[64];
    std::snprintf(line, sizeof line, "%s%.7d", ISSUED, number);
    return line;
}

Lines issueLines(int first, int last) {
    Lines lines;
    for (int i = first; i <= last; ++i) {
        lines.push_back(issueLine(i));
    }
    return lines;
}

// Waits, a minute at most, until the process has printed `text` `count` times; false when it
// ended first.
bool waitForCount(Process& process, const std::string& text, size_t count) {
    return process.waitUntil(
        [&] {
            size_t found = 0;
            const std::string output = process.output();
            for (size_t at = output.find(text); at != std::string::npos;
                 at = output.find(text, at + text.size())) {
                ++found;
            }
            return found >= count;
        },
        GENEROUS);
}

// Stops a process that runs until it is told to: one SIGINT, then it ends as by itself.
void stop(Process& process) {
    process.signal(SIGINT);
    expectEnded(process);
}

// Expects a subscriber that never matched: no issue, no "Found" line, and exactly one
// "INFO [DDS Security] " line, whose rest matches `pattern`.
void expectOnlyTheRefusal(Process& subscriber, const std::string& pattern) {
    Lines received = body(subscriber.output());
    EXPECT_EQ(starting(received, ISSUED), Lines{}) << joined(received);
    EXPECT_EQ(starting(received, "Found "), Lines{}) << joined(received);
    Lines failed = starting(received, "INFO [DDS Security] ");
    ASSERT_EQ(failed.size(), 1u) << joined(received);
    EXPECT_TRUE(std::regex_match(failed[0], std::regex("INFO \\[DDS Security\\] " + pattern)))
        << failed[0];
}

// Stops a subscriber without a timeout once it has told that its publisher, which has ended,
// is gone. Secured subscribers run without one: their participants must authenticate each
// other before any issue can arrive, and Fast DDS repeats a lost handshake message only about
// once a second (two repeats, 2.1 s, measured on a loaded machine, and more under heavier
// load), so a subscriber on -timeout 3 sometimes ended before its publisher had matched it.
void stopAfterItsPublisher(Process& subscriber) {
    EXPECT_TRUE(subscriber.waitForOutput(LOST_PUBLISHER, GENEROUS)) << subscriber.output();
    stop(subscriber);
}

// tshark on the host's loopback, printing `field` of each packet that `filter` takes, one
// line each (several values of one packet separated by commas); returns once it captures.
std::unique_ptr<Process> startCapture(PrivateHost& host, const std::string& filter,
                                      const std::string& field = "udp.payload") {
    auto capture = host.start({"tshark", "-i", "lo", "-n", "-l", "--enable-heuristic", "rtps_udp",
                               "-f", filter, "-T", "fields", "-e", field, "-a", "duration:60"});
    EXPECT_TRUE(capture->waitForErrors("Capturing on", 30)) << capture->errors();
    return capture;
}

Lines stopCapture(Process& capture) {
    capture.signal(SIGINT);
    EXPECT_TRUE(capture.wait(GENEROUS));
    return splitLines(capture.output());
}

std::string le32(uint32_t value) {
    char text[9];
    std::snprintf(text, sizeof text, "%02x%02x%02x%02x", value & 0xff, (value >> 8) & 0xff,
                  (value >> 16) & 0xff, value >> 24);
    return text;
}

// ---- RTPS messages, in hexadecimal text ----

// One submessage of a message: its id, where its body starts (in bytes), its length and
// whether it is little-endian.
struct Submessage {
    unsigned id;
    size_t body;
    size_t length;
    bool little;
};

unsigned byteAt(const std::string& hex, size_t at) {
    return static_cast<unsigned>(std::stoul(hex.substr(2 * at, 2), nullptr, 16));
}

std::vector<Submessage> submessages(const std::string& hex) {
    std::vector<Submessage> found;
    size_t size = hex.size() / 2;
    for (size_t at = 20; at + 4 <= size;) {
        bool little = (byteAt(hex, at + 1) & 1) != 0;
        size_t length = little ? byteAt(hex, at + 2) | byteAt(hex, at + 3) << 8
                               : byteAt(hex, at + 2) << 8 | byteAt(hex, at + 3);
        found.push_back({byteAt(hex, at), at + 4, length, little});
        at += 4 + length;
    }
    return found;
}

const unsigned INFO_DST = 0x0e;
const unsigned DATA = 0x15;

// The message as a spoofer sends it: from `source` (a GUID prefix in hexadecimal; empty keeps
// the original), to any participant (INFO_DST's prefix unknown), each DATA with writer
// sequence number 2^40.
std::string spoofed(std::string hex, const std::string& source) {
    if (!source.empty()) {
        hex.replace(16, 24, source);
    }
    for (const Submessage& s : submessages(hex)) {
        if (s.id == INFO_DST) {
            hex.replace(2 * s.body, 24, std::string(24, '0'));
        } else if (s.id == DATA) {
            std::string high = s.little ? "00010000" : "00000100";
            hex.replace(2 * (s.body + 12), 16, high + "00000000");
        }
    }
    return hex;
}

bool carriesData(const std::string& hex) {
    for (const Submessage& s : submessages(hex)) {
        if (s.id == DATA) {
            return true;
        }
    }
    return false;
}

// "01.0f.7f.01..." -> "010f7f01..."
std::string prefixHex(const std::string& dotted) {
    std::string hex;
    for (char c : dotted) {
        if (c != '.') {
            hex += c;
        }
    }
    return hex;
}

class SecureDomain : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        char scratch[] = "/tmp/qorddsping-pki-XXXXXX";
        ASSERT_NE(mkdtemp(scratch), nullptr);
        pki_ = scratch;
        // SIGN unless QOR_TEST_RTPS_PROTECTION says otherwise (NONE or ENCRYPT).
        const char* protection = std::getenv("QOR_TEST_RTPS_PROTECTION");
        std::string command = std::string("sh ") + QOR_MAKE_TEST_PKI + " " + pki_ + " " +
                              (protection != nullptr ? protection : "SIGN");
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
        // In the sanitized build, the tools' leak reports follow allocations through OpenSSL,
        // which has no frame pointers, so that the suppression of Fast DDS's leak of refused
        // certificates (tools/sanitizer/lsan.supp) finds its frame. Only this suite pays for
        // the slower unwinding.
        const char* asan = std::getenv("ASAN_OPTIONS");
        if (asan != nullptr) {
            setenv("ASAN_OPTIONS", (std::string(asan) + ":fast_unwind_on_malloc=0").c_str(), 1);
        }
    }
    static void TearDownTestSuite() {
        if (!pki_.empty()) {
            std::system(("rm -rf " + pki_).c_str());
        }
    }

    // The arguments that make a tool `identity` (Alice, Bob or Mallory) of the secured domain.
    static Lines secured(const std::string& identity) {
        return {"-qosFile", pki_ + "/secure.xml", "-qosProfile", "Secure::" + identity};
    }

    // The text of the test QoS file with `from` replaced by `to` everywhere, as file NAME.
    static std::string variant(const std::string& name, const std::string& from,
                               const std::string& to) {
        std::ifstream in(pki_ + "/secure.xml");
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
            text.replace(at, from.size(), to);
            at += to.size();
        }
        std::ofstream(pki_ + "/" + name) << text;
        return pki_ + "/" + name;
    }

    static std::string pki_;
};

std::string SecureDomain::pki_;

// Every issue, with the match and liveliness lines as usual and nothing else, at the default
// verbosity and QoS (best effort, volatile): issue 0 included. The subscriber is stopped once
// it has told the publisher's loss.
TEST_F(SecureDomain, TwoSecuredToolsExchangeEveryIssue) {
    PrivateHost host;
    auto subscriber = startListening(host, secured("Bob"));
    auto publisher =
        host.startPing(concat(secured("Alice"), {"-numSamples", "5", "-sendPeriod", "0.2"}));
    expectEnded(*publisher);
    EXPECT_TRUE(subscriber->waitForOutput("Detected loss of 1 previously alive", GENEROUS))
        << subscriber->output();
    stopAfterItsPublisher(*subscriber);
    Lines sent;
    for (int i = 0; i < 5; ++i) {
        char line[64];
        std::snprintf(line, sizeof line, "Sending data...   value: %.7d ", i);
        sent.push_back(line);
    }
    Lines published = body(publisher->output());
    EXPECT_EQ(published.size(), 7u) << joined(published);
    EXPECT_EQ(starting(published, "Sending data..."), sent) << joined(published);
    EXPECT_EQ(starting(published, "Found 1 additional ping subscriber(s)."),
              Lines{"Found 1 additional ping subscriber(s)."});
    EXPECT_EQ(starting(published, "Current subscriber tally is: 1"),
              Lines{"Current subscriber tally is: 1"});

    Lines received = body(subscriber->output());
    EXPECT_EQ(starting(received, ISSUED), issueLines(0, 4)) << joined(received);
    EXPECT_EQ(starting(received, "Found 1 additional"),
              (Lines{FOUND_PUBLISHER, "Found 1 additional alive ping publishers(s)."}))
        << joined(received);
    EXPECT_EQ(starting(received, "Detected loss of 1"),
              (Lines{"Detected loss of 1 ping publishers(s).",
                     "Detected loss of 1 previously alive ping publishers(s)."}))
        << joined(received);
    EXPECT_EQ(received.size(), 1u + 5u + 8u) << joined(received);
    EXPECT_EQ(received.front(), LISTENING);
}

// A secured subscriber and an unsecured publisher never match; at -verbosity 4 each says why,
// once, the subscriber naming the publisher by its GUID prefix (application id 0xabcd in its
// last four bytes) and participant name. Both run until both have said it and the publisher
// has sent five issues more, then are stopped: a subscriber that ended on its own timeout
// could end before the participants had discovered each other on a loaded machine.
TEST_F(SecureDomain, AnUnsecuredPublisherNeverMatchesAndTheSubscriberNamesIt) {
    PrivateHost host;
    auto subscriber = startListening(host, concat(secured("Bob"), {"-verbosity", "4"}));
    auto publisher = host.startPing({"-sendPeriod", "0.2", "-appId", "43981", "-verbosity", "4"});
    EXPECT_TRUE(subscriber->waitForOutput("INFO [DDS Security] ", GENEROUS))
        << subscriber->output();
    EXPECT_TRUE(publisher->waitForOutput("INFO [DDS Security] ", GENEROUS)) << publisher->output();
    size_t sent = starting(splitLines(publisher->output()), "Sending data...").size();
    EXPECT_TRUE(waitForCount(*publisher, "Sending data...", sent + 5)) << publisher->output();
    stop(*publisher);
    stop(*subscriber);
    expectOnlyTheRefusal(*subscriber,
                         "authentication failed: participant ([0-9a-f]{2}\\.){8}00\\.00\\.ab\\.cd "
                         "\"QOR DDS Ping\" at [^ ]+ does not use DDS Security \\(no identity "
                         "token\\)");

    Lines published = body(publisher->output());
    Lines told = starting(published, "INFO [DDS Security] ");
    ASSERT_EQ(told.size(), 1u) << joined(published);
    EXPECT_TRUE(std::regex_match(
        told[0], std::regex("INFO \\[DDS Security\\] participant ([0-9a-f]{2}\\.){11}[0-9a-f]{2} "
                            "\"bob\" at [^ ]+ uses DDS Security and this participant does not: "
                            "they cannot communicate")))
        << told[0];
    EXPECT_EQ(starting(published, "Found "), Lines{}) << joined(published);
}

// An identity that the domain's CA did not sign fails the handshake: no match, and the
// subscriber names the peer, once, however often the peer repeats the handshake. The peer
// begins it (its GUID prefix, made from its certificate's subject, is the lower) and Fast DDS
// repeats a handshake message that gets no answer about once a second, more than once when
// the first are lost on a loaded machine. So the publisher runs, and the subscriber with
// it, until the subscriber has told the refusal and refused the peer three times (Fast DDS's
// "Error verifying certificate" warning, shown at -verbosity 4, comes with each refusal,
// before the callback that tells it, and the refusals are handled one after the other: the
// third warning thus comes after the second refusal was told or left untold); both are then
// stopped.
TEST_F(SecureDomain, AnIdentityOfAnotherCaIsRefusedTheSameWay) {
    PrivateHost host;
    auto subscriber = startListening(host, concat(secured("Bob"), {"-verbosity", "4"}));
    auto publisher = host.startPing(concat(secured("Mallory"), {"-sendPeriod", "0.2"}));
    EXPECT_TRUE(subscriber->waitForOutput("INFO [DDS Security] ", GENEROUS))
        << subscriber->output();
    EXPECT_TRUE(waitForCount(*subscriber, REFUSED, 3)) << subscriber->output();
    stop(*publisher);
    stop(*subscriber);
    expectOnlyTheRefusal(*subscriber,
                         "authentication failed: participant ([0-9a-f]{2}\\.){11}[0-9a-f]{2} "
                         "\"mallory\" at [^ ]+: the handshake failed \\(.*\\)");
    EXPECT_EQ(starting(body(publisher->output()), "Found "), Lines{});
}

// The issue numbers a keyed publisher sent, the subscriber received, and those whose bytes
// (key, number: little-endian XCDR1) a capture shows as the serialized data of a DATA, over
// UDPv4 on one host. The subscriber is stopped once it has told the publisher's loss.
struct WireRun {
    std::set<int> sent, received, plain;
};

WireRun keyedRunOnTheWire(const Lines& subscriberIdentity, const Lines& publisherIdentity) {
    PrivateHost host;
    auto capture = startCapture(host, "udp", "rtps.issueData");
    const Lines common = {"-transport",      "1",          "-reliable", "-durability",
                          "TRANSIENT_LOCAL", "-queueSize", "20"};
    auto subscriber =
        startListening(host, concat(concat(subscriberIdentity, common), {"-useKeys", "1"}));
    auto publisher =
        host.startPing(concat(concat(publisherIdentity, common),
                              {"-useKeys", "2", "-numSamples", "12", "-sendPeriod", "0.1"}));
    expectEnded(*publisher);
    stopAfterItsPublisher(*subscriber);
    Lines packets = stopCapture(*capture);
    WireRun run;
    const std::string value = "value: ";
    for (const std::string& line : body(publisher->output())) {
        size_t at = line.find(value);
        if (line.rfind("Sending data...", 0) == 0 && at != std::string::npos &&
            std::isdigit(static_cast<unsigned char>(line[at + value.size()]))) {
            run.sent.insert(std::stoi(line.substr(at + value.size())));
        }
    }
    for (const std::string& line : starting(body(subscriber->output()), ISSUED)) {
        run.received.insert(std::stoi(line.substr(std::string(ISSUED).size())));
    }
    std::set<std::string> data;
    for (const std::string& packet : packets) {
        std::istringstream values(packet);
        for (std::string item; std::getline(values, item, ',');) {
            data.insert(item);
        }
    }
    for (int n : run.sent) {
        if (data.count(le32(static_cast<uint32_t>(n % 2)) + le32(static_cast<uint32_t>(n))) != 0) {
            run.plain.insert(n);
        }
    }
    return run;
}

// The capture that finds every keyed issue of an unsecured run finds none of a secured run,
// in which every issue still arrives.
TEST_F(SecureDomain, ACaptureShowsNoPlaintextIssueNumbers) {
    WireRun open = keyedRunOnTheWire({}, {});
    EXPECT_EQ(open.sent, (std::set<int>{0, 1, 4, 5, 8, 9}));
    EXPECT_EQ(open.received, open.sent);
    EXPECT_EQ(open.plain, open.sent);

    WireRun secure = keyedRunOnTheWire(secured("Bob"), secured("Alice"));
    EXPECT_EQ(secure.sent, open.sent);
    EXPECT_EQ(secure.received, secure.sent);
    EXPECT_EQ(secure.plain, std::set<int>{});
}

// A publisher of 30 issues every 0.1 s and a subscriber (-index 0, so on SUBSCRIBER_PORT),
// both over UDPv4 only, with `identity` added to each; a capture of what reaches the
// subscriber's port. After issue 5 has arrived, `attack` runs with the capture, still going.
// The subscriber is stopped once it has told the publisher's loss.
struct SpoofRun {
    Lines subscriber;
};

template <class Attack>
SpoofRun attackedRun(const Lines& subscriberExtra, const Lines& publisherExtra, Attack attack) {
    PrivateHost host;
    auto capture = startCapture(host, std::string("udp dst port ") + SUBSCRIBER_PORT);
    auto subscriber =
        startListening(host, concat(subscriberExtra, {"-index", "0", "-transport", "1"}));
    auto publisher = host.startPing(
        concat(publisherExtra, {"-transport", "1", "-numSamples", "30", "-sendPeriod", "0.1"}));
    EXPECT_TRUE(subscriber->waitForOutput(issueLine(5), GENEROUS)) << subscriber->output();
    attack(host, *capture, subscriber->output());
    expectEnded(*publisher);
    stopAfterItsPublisher(*subscriber);
    stopCapture(*capture);
    return {body(subscriber->output())};
}

void send(PrivateHost& host, const Lines& datagrams) {
    auto sender = host.start(concat({QOR_UDP_SEND, SUBSCRIBER_PORT}, datagrams));
    ASSERT_TRUE(sender->wait(GENEROUS));
    EXPECT_EQ(sender->exitStatus(), 0) << sender->errors();
}

// One DATA with writer sequence number 2^40, made of a captured one, stops an unsecured
// subscriber's delivery for good; replayed at a secured subscriber, as its publisher's or
// as the unsecured one's, it changes nothing: every issue arrives, and no missed sample is
// reported.
TEST_F(SecureDomain, ASpoofedDataThatStopsAnUnsecuredSubscriberChangesNothingOnASecuredOne) {
    std::string captured;
    SpoofRun open =
        attackedRun({}, {}, [&](PrivateHost& host, Process& capture, const std::string&) {
            // tshark prints what it captured some time after: on a loaded machine, more than
            // 200 ms after issue 5 had arrived. So wait for the first whole line with a DATA.
            Lines packets;
            for (int i = 0; i < 3000 && captured.empty(); ++i) {
                std::string text = capture.output();
                packets = splitLines(text.substr(0, text.rfind('\n') + 1));
                for (const std::string& packet : packets) {
                    if (captured.empty() && carriesData(packet)) {
                        captured = packet;
                    }
                }
                if (captured.empty()) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
                }
            }
            ASSERT_FALSE(captured.empty()) << joined(packets);
            send(host, {spoofed(captured, "")});
        });
    ASSERT_FALSE(captured.empty());
    // The spoofed DATA is taken, its sequence number makes every later issue look old.
    Lines afterSpoof;
    bool spoofed_seen = false;
    for (const std::string& line : open.subscriber) {
        spoofed_seen = spoofed_seen || line == SAMPLE_LOST;
        if (spoofed_seen && line.rfind(ISSUED, 0) == 0) {
            afterSpoof.push_back(line);
        }
    }
    ASSERT_TRUE(spoofed_seen) << joined(open.subscriber);
    EXPECT_EQ(afterSpoof.size(), 1u) << joined(open.subscriber);
    EXPECT_LT(starting(open.subscriber, ISSUED).size(), 30u) << joined(open.subscriber);

    SpoofRun secure =
        attackedRun(concat(secured("Bob"), {"-verbosity", "4"}), secured("Alice"),
                    [&](PrivateHost& host, Process&, const std::string& output) {
                        std::smatch found;
                        std::regex authenticated(
                            "participant ([0-9a-f.]{35}) \"alice\" at [^ ]+ authenticated");
                        ASSERT_TRUE(std::regex_search(output, found, authenticated)) << output;
                        send(host, {spoofed(captured, prefixHex(found[1])), spoofed(captured, "")});
                    });
    EXPECT_EQ(starting(secure.subscriber, ISSUED), issueLines(0, 29)) << joined(secure.subscriber);
    EXPECT_EQ(starting(secure.subscriber, MISSED), Lines{}) << joined(secure.subscriber);
    EXPECT_EQ(starting(secure.subscriber, SAMPLE_LOST), Lines{}) << joined(secure.subscriber);
}

// A missing file or a broken certificate stops the run before any participant exists, with
// the property and the file named, and exit status 0.
TEST_F(SecureDomain, AMissingFileOrABrokenCertificateStopsTheRunNamingPropertyAndFile) {
    std::ofstream(pki_ + "/broken.pem") << "-----BEGIN CERTIFICATE-----\nbroken\n";
    const std::string context = "ERROR [DDSDomainParticipantFactory::create_participant] ";
    const std::string certificate = "property dds.sec.auth.builtin.PKI-DH.identity_certificate: ";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {variant("missing.xml", "/alice.pem", "/nosuch.pem"),
         certificate + "file " + pki_ + "/nosuch.pem cannot be read: No such file or directory"},
        {variant("broken.xml", "/alice.pem", "/broken.pem"),
         certificate + "file " + pki_ +
             "/broken.pem is not a PEM X.509 certificate (bad end line)"},
        {variant("rogue.xml", "/alice.", "/mallory."),
         certificate + "file " + pki_ +
             "/mallory.pem is not accepted by the CA of "
             "dds.sec.auth.builtin.PKI-DH.identity_ca (file " +
             pki_ + "/ca.pem): unable to get local issuer certificate"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        qortest::RunResult run =
            qortest::runPing({"-qosFile", c.first, "-qosProfile", "Secure::Alice"}, GENEROUS);
        EXPECT_EQ(run.exitStatus, 0) << run.output;
        EXPECT_EQ(body(run.output), (Lines{context + c.second, "create_participant error"}));
    }
}

}  // namespace
