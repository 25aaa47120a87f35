// The RTPS wire against Cyclone DDS's own ddsperf on this machine, side by
// side in one run, each between two processes on the loopback interface:
// - throughput, reliable, keep-all on both ends, 64-octet and 4-KiB
//   samples: a vurnc writer in a copy of this program to a vurnc reader in
//   this one, then ddsperf pub to ddsperf sub with -k all;
// - round-trip latency of 64-octet samples, reliable, keep-last 1: a vurnc
//   ping here and a pong in a copy of this program echoing each sample on a
//   second topic, then ddsperf ping and pong.
// Sizes count the sample as ddsperf does: sequence number, key and payload
// length (12 octets) and the payload. The copies of this program are started
// with "--role writer|pong <domain> [<size>]". Each run has a domain of its
// own, so that no participant of one run is discovered by the next.
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "ddsperf_output.h"
#include "ratio_lines.h"
#include "rtps_wire_types.h"
#include "vurnc/dds_c.h"

extern char **environ;

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kWarmUp = 1s;
constexpr auto kMeasure = 3s;
constexpr auto kMatchLimit = 10s;
constexpr auto kStopLimit = 3s;
constexpr long kFixedOctets = 12;
constexpr long kLatencySize = 64;
constexpr const char *kTypeName = "rtpsbench::Payload";

// The Cyclone configuration the RTPS wire uses when CYCLONEDDS_URI names
// none, for ddsperf: peers found on the loopback interface, no multicast.
constexpr const char *kCycloneConfig =
        "<CycloneDDS><Domain Id=\"any\">"
        "<General><Interfaces><NetworkInterface address=\"127.0.0.1\"/></Interfaces>"
        "<AllowMulticast>false</AllowMulticast></General>"
        "<Discovery><ParticipantIndex>auto</ParticipantIndex>"
        "<MaxAutoParticipantIndex>60</MaxAutoParticipantIndex>"
        "<Peers><Peer address=\"127.0.0.1\"/></Peers></Discovery>"
        "<Internal><GenerateKeyhash>true</GenerateKeyhash></Internal>"
        "</Domain></CycloneDDS>";

volatile sig_atomic_t g_stopRequested = 0;

void onStopSignal(int) { g_stopRequested = 1; }

double secondsOf(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

// A participant with the benchmark's type, a publisher and a subscriber;
// deletes all of it, and the factory, when it goes.
struct Application {
    DDS_DomainParticipant *participant = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;

    explicit Application(int domain) {
        participant = DDS_DomainParticipantFactory_create_participant(DDS_DomainParticipantFactory_get_instance(),
                                                                      domain, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
        if (participant == nullptr ||
            rtpsbench_PayloadTypeSupport_register_type(participant, kTypeName) != DDS_RETCODE_OK) {
            return;
        }
        publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        subscriber = DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    }

    Application(const Application &) = delete;
    Application &operator=(const Application &) = delete;

    ~Application() {
        if (participant != nullptr) {
            DDS_DomainParticipant_delete_contained_entities(participant);
            DDS_DomainParticipantFactory_delete_participant(DDS_DomainParticipantFactory_get_instance(), participant);
        }
        DDS_DomainParticipantFactory_finalize_instance();
    }

    bool ready() const { return publisher != nullptr && subscriber != nullptr; }

    DDS_Topic *topic(const char *name) {
        DDS_TopicDescription *found = DDS_DomainParticipant_lookup_topicdescription(participant, name);
        return found != nullptr ? DDS_Topic_narrow(found)
                                : DDS_DomainParticipant_create_topic(participant, name, kTypeName,
                                                                     &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    }

    // Reliable and volatile; keep-all, or keep-last `depth`.
    rtpsbench_PayloadDataWriter *writer(const char *topicName, DDS_Long depth) {
        DDS_Topic *topicOf = topic(topicName);
        DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
        DDS_Publisher_get_default_datawriter_qos(publisher, &qos);
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        qos.history.kind = depth > 0 ? DDS_KEEP_LAST_HISTORY_QOS : DDS_KEEP_ALL_HISTORY_QOS;
        qos.history.depth = depth > 0 ? depth : 1;
        DDS_DataWriter *writer =
                topicOf != nullptr ? DDS_Publisher_create_datawriter(publisher, topicOf, &qos, nullptr, 0) : nullptr;
        DDS_DataWriterQos_finalize(&qos);
        return rtpsbench_PayloadDataWriter_narrow(writer);
    }

    rtpsbench_PayloadDataReader *reader(const char *topicName, DDS_Long depth) {
        DDS_Topic *topicOf = topic(topicName);
        DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
        DDS_Subscriber_get_default_datareader_qos(subscriber, &qos);
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        qos.history.kind = depth > 0 ? DDS_KEEP_LAST_HISTORY_QOS : DDS_KEEP_ALL_HISTORY_QOS;
        qos.history.depth = depth > 0 ? depth : 1;
        DDS_DataReader *reader = topicOf != nullptr
                                         ? DDS_Subscriber_create_datareader(
                                                   subscriber, DDS_Topic_as_topicdescription(topicOf), &qos, nullptr, 0)
                                         : nullptr;
        DDS_DataReaderQos_finalize(&qos);
        return rtpsbench_PayloadDataReader_narrow(reader);
    }
};

bool writerMatched(rtpsbench_PayloadDataWriter *writer) {
    DDS_PublicationMatchedStatus status{};
    DDS_DataWriter_get_publication_matched_status(rtpsbench_PayloadDataWriter_as_datawriter(writer), &status);
    return status.current_count > 0;
}

bool readerMatched(rtpsbench_PayloadDataReader *reader) {
    DDS_SubscriptionMatchedStatus status{};
    DDS_DataReader_get_subscription_matched_status(rtpsbench_PayloadDataReader_as_datareader(reader), &status);
    return status.current_count > 0;
}

template <typename Condition>
bool waitUntil(Condition condition, Clock::duration limit) {
    const Clock::time_point end = Clock::now() + limit;
    while (!condition()) {
        if (Clock::now() > end || g_stopRequested != 0) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// Takes what `reader` holds and hands each valid sample to `visit`; the
// number of samples taken.
template <typename Visit>
DDS_Long takeAll(rtpsbench_PayloadDataReader *reader, Visit visit) {
    rtpsbench_PayloadSeq samples = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    if (rtpsbench_PayloadDataReader_take(reader, &samples, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                         DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE) != DDS_RETCODE_OK) {
        return 0;
    }
    const DDS_Long length = rtpsbench_PayloadSeq_get_length(&samples);
    for (DDS_Long i = 0; i < length; ++i) {
        if (DDS_SampleInfoSeq_get_reference(&infos, i)->valid_data) {
            visit(*rtpsbench_PayloadSeq_get_reference(&samples, i));
        }
    }
    rtpsbench_PayloadDataReader_return_loan(reader, &samples, &infos);
    return length;
}

// A sample of `size` octets as ddsperf counts them.
struct Sample {
    rtpsbench_Payload payload;

    explicit Sample(long size) {
        rtpsbench_Payload_initialize(&payload);
        DDS_OctetSeq_ensure_length(&payload.baggage, static_cast<DDS_Long>(size - kFixedOctets),
                                   static_cast<DDS_Long>(size - kFixedOctets));
    }
    Sample(const Sample &) = delete;
    Sample &operator=(const Sample &) = delete;
    ~Sample() { rtpsbench_Payload_finalize(&payload); }
};

// ---- the copies of this program ----

// Writes samples of `size` octets as fast as the reliable protocol lets it
// until asked to stop, then prints how many writes stalled: a write that
// finds the history full blocks, and times out after the writer's blocking
// time; it is retried.
int runWriter(int domain, long size) {
    Application app(domain);
    rtpsbench_PayloadDataWriter *writer = app.ready() ? app.writer("rtpsbench_throughput", 0) : nullptr;
    if (writer == nullptr) {
        return 2;
    }
    if (!waitUntil([&] { return writerMatched(writer); }, kMatchLimit)) {
        return g_stopRequested != 0 ? 0 : 3;
    }
    Sample sample(size);
    long stalled = 0;
    while (g_stopRequested == 0) {
        const DDS_ReturnCode_t result = rtpsbench_PayloadDataWriter_write(writer, &sample.payload, &DDS_HANDLE_NIL);
        if (result == DDS_RETCODE_OK) {
            ++sample.payload.seq;
        } else if (result == DDS_RETCODE_TIMEOUT) {
            ++stalled;
        } else {
            return 4;
        }
    }
    std::printf("stalled %ld\n", stalled);
    return 0;
}

// Echoes each ping on the pong topic until asked to stop.
int runPong(int domain) {
    Application app(domain);
    rtpsbench_PayloadDataReader *pings = app.ready() ? app.reader("rtpsbench_ping", 1) : nullptr;
    rtpsbench_PayloadDataWriter *pongs = pings != nullptr ? app.writer("rtpsbench_pong", 1) : nullptr;
    if (pongs == nullptr) {
        return 2;
    }
    while (g_stopRequested == 0) {
        if (takeAll(pings, [&](const rtpsbench_Payload &ping) {
                rtpsbench_PayloadDataWriter_write(pongs, &ping, &DDS_HANDLE_NIL);
            }) == 0) {
            sched_yield();
        }
    }
    return 0;
}

// ---- this program's measurements ----

std::string selfPath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    return std::string(path, length > 0 ? static_cast<size_t>(length) : 0);
}

// This process's environment, with CYCLONEDDS_URI set to the wire's
// configuration unless the user gave one.
std::vector<std::string> environmentForCyclone() {
    std::vector<std::string> environment;
    bool configured = false;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        environment.emplace_back(*variable);
        configured = configured || (std::strncmp(*variable, "CYCLONEDDS_URI=", 15) == 0 && (*variable)[15] != '\0');
    }
    if (!configured) {
        environment.push_back(std::string("CYCLONEDDS_URI=") + kCycloneConfig);
    }
    return environment;
}

std::vector<std::string> inheritedEnvironment() {
    std::vector<std::string> environment;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        environment.emplace_back(*variable);
    }
    return environment;
}

// The ddsperf program on the PATH; empty when there is none.
std::string ddsperfPath() {
    const char *path = std::getenv("PATH");
    std::string directories = path != nullptr ? path : "/usr/bin";
    for (size_t start = 0; start <= directories.size();) {
        size_t end = directories.find(':', start);
        end = end == std::string::npos ? directories.size() : end;
        const std::string candidate = directories.substr(start, end - start) + "/ddsperf";
        if (access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
        start = end + 1;
    }
    return {};
}

struct Throughput {
    double samplesPerSecond = 0;
    long lost = 0;
    long stalled = -1;  // writes that failed after blocking, when known
    bool ok = false;
};

// A writer in a copy of this program, the reader here: the samples taken
// over kMeasure after kWarmUp from the first one. The reader is polled, as
// the platform has no waiting take, and sleeps briefly when it finds none.
Throughput measureVurncThroughput(int domain, long size) {
    Throughput throughput;
    Application app(domain);
    rtpsbench_PayloadDataReader *reader = app.ready() ? app.reader("rtpsbench_throughput", 0) : nullptr;
    if (reader == nullptr) {
        return throughput;
    }
    const std::string self = selfPath();
    zelbench::ChildProcess writer({self, "--role", "writer", std::to_string(domain), std::to_string(size)},
                                  inheritedEnvironment());
    long taken = 0;
    uint32_t expected = 0;
    long lost = 0;
    auto count = [&](const rtpsbench_Payload &sample) {
        ++taken;
        lost += sample.seq > expected ? static_cast<long>(sample.seq - expected) : 0;
        expected = sample.seq + 1;
    };
    auto drainUntil = [&](Clock::time_point end) {
        while (Clock::now() < end) {
            if (takeAll(reader, count) == 0) {
                std::this_thread::sleep_for(50us);
            }
        }
    };
    if (!writer.running() || !waitUntil([&] { return takeAll(reader, count) > 0; }, kMatchLimit)) {
        return throughput;
    }
    drainUntil(Clock::now() + kWarmUp);
    taken = 0;
    lost = 0;
    const Clock::time_point start = Clock::now();
    drainUntil(start + kMeasure);
    const double seconds = secondsOf(Clock::now() - start);
    throughput.samplesPerSecond = static_cast<double>(taken) / seconds;
    throughput.lost = lost;
    const bool stopped = writer.stop(kStopLimit) == 0;
    const std::string output = writer.output();
    const size_t stalled = output.rfind("stalled ");
    throughput.ok = stopped && taken > 0 && stalled != std::string::npos &&
                    std::sscanf(output.c_str() + stalled, "stalled %ld", &throughput.stalled) == 1;
    return throughput;
}

// ddsperf sub and pub with the same size, reliable and keep-all.
Throughput measureDdsperfThroughput(const std::string &ddsperf, int domain, long size) {
    const std::vector<std::string> environment = environmentForCyclone();
    const std::string seconds = std::to_string(1 + (kWarmUp + kMeasure).count());
    const std::string id = std::to_string(domain);
    zelbench::ChildProcess sub({ddsperf, "-i", id, "-k", "all", "-D", seconds, "sub"}, environment);
    zelbench::ChildProcess pub({ddsperf, "-i", id, "-k", "all", "-D", seconds, "pub", "size", std::to_string(size)},
                               environment);
    Throughput throughput;
    const int subStatus = sub.wait(kMatchLimit + kWarmUp + kMeasure);
    pub.stop(kStopLimit);
    const zelbench::DdsperfRate rate = zelbench::DdsperfRate_parse(sub.output());
    throughput.samplesPerSecond = rate.samplesPerSecond;
    throughput.lost = rate.lost;
    throughput.ok = subStatus == 0 && rate.ok;
    return throughput;
}

struct Latency {
    double medianUs = 0;
    double p90Us = 0;
    bool ok = false;
};

// The ping here, the pong in a copy of this program: one sample out at a
// time, its echo awaited by polling (yielding the processor between takes).
Latency measureVurncLatency(int domain) {
    Latency latency;
    Application app(domain);
    rtpsbench_PayloadDataWriter *pings = app.ready() ? app.writer("rtpsbench_ping", 1) : nullptr;
    rtpsbench_PayloadDataReader *pongs = pings != nullptr ? app.reader("rtpsbench_pong", 1) : nullptr;
    if (pongs == nullptr) {
        return latency;
    }
    const std::string self = selfPath();
    zelbench::ChildProcess pong({self, "--role", "pong", std::to_string(domain)}, inheritedEnvironment());
    if (!pong.running() || !waitUntil([&] { return writerMatched(pings) && readerMatched(pongs); }, kMatchLimit)) {
        return latency;
    }
    // A ping whose echo does not come within the limit is given up: during
    // the warm-up, while the pong may still be discovering this process;
    // afterwards it fails the measurement.
    Sample ping(kLatencySize);
    auto roundTrip = [&](Clock::duration limit) {
        ++ping.payload.seq;
        const Clock::time_point sent = Clock::now();
        if (rtpsbench_PayloadDataWriter_write(pings, &ping.payload, &DDS_HANDLE_NIL) != DDS_RETCODE_OK) {
            return Clock::duration::max();
        }
        bool echoed = false;
        while (!echoed) {
            if (takeAll(pongs, [&](const rtpsbench_Payload &sample) { echoed |= sample.seq == ping.payload.seq; }) ==
                0) {
                if (Clock::now() - sent > limit) {
                    return Clock::duration::max();
                }
                sched_yield();
            }
        }
        return Clock::now() - sent;
    };
    const Clock::time_point warm = Clock::now() + kWarmUp;
    while (Clock::now() < warm) {
        roundTrip(100ms);
    }
    std::vector<double> roundTrips;
    roundTrips.reserve(1 << 20);
    for (const Clock::time_point end = Clock::now() + kMeasure; Clock::now() < end;) {
        const Clock::duration took = roundTrip(1s);
        if (took == Clock::duration::max()) {
            return latency;
        }
        roundTrips.push_back(std::chrono::duration<double, std::micro>(took).count());
    }
    if (roundTrips.empty()) {
        return latency;
    }
    std::sort(roundTrips.begin(), roundTrips.end());
    latency.medianUs = roundTrips[roundTrips.size() / 2];
    latency.p90Us = roundTrips[roundTrips.size() * 9 / 10];
    latency.ok = pong.stop(kStopLimit) == 0;
    return latency;
}

// ddsperf ping (one ping out at a time, the next on the last pong) and pong.
Latency measureDdsperfLatency(const std::string &ddsperf, int domain) {
    const std::vector<std::string> environment = environmentForCyclone();
    const std::string id = std::to_string(domain);
    const std::string seconds = std::to_string(1 + (kWarmUp + kMeasure).count());
    zelbench::ChildProcess pong({ddsperf, "-i", id, "-D", seconds, "pong"}, environment);
    zelbench::ChildProcess ping({ddsperf, "-i", id, "-D", seconds, "ping", "size", std::to_string(kLatencySize)},
                                environment);
    const int pingStatus = ping.wait(kMatchLimit + kWarmUp + kMeasure);
    pong.stop(kStopLimit);
    const zelbench::DdsperfLatency parsed = zelbench::DdsperfLatency_parse(ping.output());
    return {parsed.medianUs, parsed.p90Us, pingStatus == 0 && parsed.ok};
}

void printThroughput(const char *side, long size, const Throughput &throughput) {
    std::printf("throughput %-8s %5ld B reliable keep-all: ", side, size);
    if (!throughput.ok) {
        std::printf("failed\n");
        return;
    }
    std::printf("%10.0f samples/s %8.1f MB/s, lost %ld", throughput.samplesPerSecond,
                throughput.samplesPerSecond * static_cast<double>(size) / 1e6, throughput.lost);
    if (throughput.stalled >= 0) {
        std::printf(", stalled writes %ld", throughput.stalled);
    }
    std::printf("\n");
}

void printLatency(const char *side, const Latency &latency) {
    if (!latency.ok) {
        std::printf("round trip %-8s %5ld B reliable keep-last 1: failed\n", side, kLatencySize);
        return;
    }
    std::printf("round trip %-8s %5ld B reliable keep-last 1: median %7.1f us  90%% %7.1f us\n", side, kLatencySize,
                latency.medianUs, latency.p90Us);
}

// Both sides share the machine with whatever else runs: its load tells how
// far the figures can be trusted.
void printLoad() {
    double load = 0;
    std::FILE *file = std::fopen("/proc/loadavg", "r");
    if (file != nullptr && std::fscanf(file, "%lf", &load) == 1) {
        std::printf("load average over the last minute %.2f, %u processors\n", load,
                    std::thread::hardware_concurrency());
    }
    if (file != nullptr) {
        std::fclose(file);
    }
}

int runComparison() {
    printLoad();
    const std::string ddsperf = ddsperfPath();
    if (ddsperf.empty()) {
        std::printf("ddsperf not found on the PATH (package cyclonedds-tools): Cyclone's side is skipped\n");
    }
    // Domains 215 to 229: their ports lie above the usual ephemeral range.
    int domain = 215 + static_cast<int>(getpid() % 10);
    bool ok = true;
    struct SizeCase {
        long size;
        const char *label;
    };
    for (const SizeCase &sizeCase : {SizeCase{64, "64B"}, SizeCase{4096, "4KiB"}}) {
        const Throughput ours = measureVurncThroughput(domain++, sizeCase.size);
        printThroughput("vurnc", sizeCase.size, ours);
        ok = ok && ours.ok;
        if (!ddsperf.empty()) {
            const Throughput theirs = measureDdsperfThroughput(ddsperf, domain++, sizeCase.size);
            printThroughput("ddsperf", sizeCase.size, theirs);
            if (ours.ok && theirs.ok) {
                zelbench::addRatioLine(
                        (std::string("ratio throughput ") + sizeCase.label + " vurnc/ddsperf = %.2f").c_str(),
                        ours.samplesPerSecond / theirs.samplesPerSecond);
            }
        }
    }
    const Latency ours = measureVurncLatency(domain++);
    printLatency("vurnc", ours);
    ok = ok && ours.ok;
    if (!ddsperf.empty()) {
        const Latency theirs = measureDdsperfLatency(ddsperf, domain++);
        printLatency("ddsperf", theirs);
        if (ours.ok && theirs.ok) {
            zelbench::addRatioLine("ratio round trip median vurnc/ddsperf = %.2f", ours.medianUs / theirs.medianUs);
            zelbench::addRatioLine("ratio round trip 90th percentile vurnc/ddsperf = %.2f", ours.p90Us / theirs.p90Us);
        }
    }
    for (const std::string &line : zelbench::ratioLines()) {
        std::printf("%s\n", line.c_str());
    }
    return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
    // The RTPS wire, whatever the environment chooses.
    setenv("ZEL_WIRE", "cyclone", 1);
    if (argc >= 4 && std::strcmp(argv[1], "--role") == 0) {
        struct sigaction action {};
        action.sa_handler = onStopSignal;
        sigaction(SIGTERM, &action, nullptr);
        const int domain = std::atoi(argv[3]);
        if (std::strcmp(argv[2], "writer") == 0 && argc >= 5) {
            return runWriter(domain, std::atol(argv[4]));
        }
        return std::strcmp(argv[2], "pong") == 0 ? runPong(domain) : 1;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    return runComparison();
}
