// zeldemo: a small shapes system to watch with zelmon. The publisher writes
// Square (10 samples/s, reliable, transient-local), Circle (20/s,
// best-effort) and Triangle (5/s, reliable), and every 10 s creates or
// deletes a second Triangle writer (2/s). The subscriber reads all three,
// Square also through a content-filtered topic, and (unless --clean) has a
// reliable reader of the best-effort Circle, which cannot match. Monitoring
// goes to a separate domain, published every period.
#include <csignal>
#include <cstdio>
#include <memory>
#include <thread>

#include <CLI/CLI.hpp>

#include "demo_participant.h"
#include "vurncore/dds_string.h"

namespace {

using namespace std::chrono_literals;
using zeldemo::DemoParticipant;

volatile std::sig_atomic_t g_stop = 0;
void onSignal(int) { g_stop = 1; }

// Writes happen on ticks of this length; every writer's rate divides it.
constexpr auto kTick = 50ms;

struct WriterPlan {
    const char *topic;
    const char *color;
    int ticksPerSample;
    DDS_ReliabilityQosPolicyKind reliability;
    DDS_DurabilityQosPolicyKind durability;
    DDS_Long depth;
};

constexpr WriterPlan kWriters[] = {
        {"Square", "RED", 2, DDS_RELIABLE_RELIABILITY_QOS, DDS_TRANSIENT_LOCAL_DURABILITY_QOS, 5},
        {"Circle", "GREEN", 1, DDS_BEST_EFFORT_RELIABILITY_QOS, DDS_VOLATILE_DURABILITY_QOS, 1},
        {"Triangle", "YELLOW", 4, DDS_RELIABLE_RELIABILITY_QOS, DDS_VOLATILE_DURABILITY_QOS, 1},
};
// The writer that comes and goes, and how long it stays and stays away.
constexpr WriterPlan kComingAndGoing = {
        "Triangle", "PURPLE", 10, DDS_RELIABLE_RELIABILITY_QOS, DDS_VOLATILE_DURABILITY_QOS, 1};
constexpr int kComingAndGoingTicks = 200;

void writeShape(demo_ShapeDataWriter *writer, const char *color, int64_t tick) {
    demo_Shape shape;
    demo_Shape_initialize(&shape);
    std::snprintf(shape.color, 33, "%s", color);
    shape.x = static_cast<DDS_Long>(tick % 200);
    shape.y = static_cast<DDS_Long>((tick * 3) % 200);
    shape.size = static_cast<DDS_Long>(10 + tick % 50);
    demo_ShapeDataWriter_write(writer, &shape, &DDS_HANDLE_NIL);
    demo_Shape_finalize(&shape);
}

bool runPublisher(DemoParticipant &participant, const std::chrono::steady_clock::time_point end) {
    demo_ShapeDataWriter *writers[std::size(kWriters)];
    for (size_t i = 0; i < std::size(kWriters); ++i) {
        const WriterPlan &plan = kWriters[i];
        writers[i] = participant.createWriter(plan.topic, plan.reliability, plan.durability, plan.depth);
        if (writers[i] == nullptr) {
            std::fprintf(stderr, "zeldemo: cannot create the %s writer\n", plan.topic);
            return false;
        }
    }
    demo_ShapeDataWriter *comingAndGoing = nullptr;
    const auto start = std::chrono::steady_clock::now();
    for (int64_t tick = 0; !g_stop && std::chrono::steady_clock::now() < end; ++tick) {
        // Absolute deadlines keep the rates exact however long a write takes.
        std::this_thread::sleep_until(start + tick * kTick);
        for (size_t i = 0; i < std::size(kWriters); ++i) {
            if (tick % kWriters[i].ticksPerSample == 0) {
                writeShape(writers[i], kWriters[i].color, tick);
            }
        }
        if (tick % kComingAndGoingTicks == 0) {
            if (comingAndGoing == nullptr) {
                comingAndGoing = participant.createWriter(kComingAndGoing.topic, kComingAndGoing.reliability,
                                                          kComingAndGoing.durability, kComingAndGoing.depth);
            } else {
                participant.deleteWriter(comingAndGoing);
                comingAndGoing = nullptr;
            }
        }
        if (comingAndGoing != nullptr && tick % kComingAndGoing.ticksPerSample == 0) {
            writeShape(comingAndGoing, kComingAndGoing.color, tick);
        }
    }
    return true;
}

bool runSubscriber(DemoParticipant &participant, bool clean, const std::chrono::steady_clock::time_point end) {
    std::vector<demo_ShapeDataReader *> readers = {
            participant.createReader(DDS_Topic_as_topicdescription(participant.topic("Square")),
                                     DDS_RELIABLE_RELIABILITY_QOS, DDS_TRANSIENT_LOCAL_DURABILITY_QOS, 5),
            participant.createReader(DDS_Topic_as_topicdescription(participant.topic("Circle")),
                                     DDS_BEST_EFFORT_RELIABILITY_QOS, DDS_VOLATILE_DURABILITY_QOS, 1),
            participant.createReader(DDS_Topic_as_topicdescription(participant.topic("Triangle")),
                                     DDS_RELIABLE_RELIABILITY_QOS, DDS_VOLATILE_DURABILITY_QOS, 4),
            participant.createFilteredReader("BigSquares", "Square", "size > 40"),
    };
    if (!clean) {
        // Asks for more than the Circle writer offers: reported as a
        // requested incompatible QoS, RELIABILITY.
        readers.push_back(participant.createReader(DDS_Topic_as_topicdescription(participant.topic("Circle")),
                                                   DDS_RELIABLE_RELIABILITY_QOS, DDS_VOLATILE_DURABILITY_QOS, 1));
    }
    for (demo_ShapeDataReader *reader : readers) {
        if (reader == nullptr) {
            std::fprintf(stderr, "zeldemo: cannot create a reader\n");
            return false;
        }
    }
    while (!g_stop && std::chrono::steady_clock::now() < end) {
        for (demo_ShapeDataReader *reader : readers) {
            demo_ShapeSeq samples = ZEL_SEQUENCE_INITIALIZER;
            DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
            if (demo_ShapeDataReader_take(reader, &samples, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                          DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE) == DDS_RETCODE_OK) {
                demo_ShapeDataReader_return_loan(reader, &samples, &infos);
            }
        }
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    std::string role = "all";
    int domain = 0;
    zeldemo::MonitoringSettings monitoring{1, 1};
    bool clean = false;
    double seconds = -1;
    CLI::App app{"zeldemo: a shapes system with monitoring switched on, to watch with zelmon"};
    app.add_option("role", role, "publisher, subscriber, or all (both, in one process)")
            ->check(CLI::IsMember({"publisher", "subscriber", "all"}))
            ->capture_default_str();
    app.add_option("-d,--domain", domain, "domain of the shapes")->check(CLI::Range(0, 232))->capture_default_str();
    app.add_option("-m,--monitoring-domain", monitoring.domain, "domain of the monitoring data; -1 switches it off")
            ->check(CLI::Range(-1, 232))
            ->capture_default_str();
    app.add_option("-p,--period", monitoring.periodSeconds, "monitoring statistics period in seconds")
            ->check(CLI::Range(1, 3600))
            ->capture_default_str();
    app.add_flag("--clean", clean, "leave out the incompatible reader");
    app.add_option("-t,--time", seconds, "stop after this many seconds (default: until Ctrl-C)");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        // --help is a parse "error" that exits 0; every other one is bad usage.
        return app.exit(error) == 0 ? 0 : 2;
    }

    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    const auto end = seconds >= 0 ? std::chrono::steady_clock::now() +
                                            std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                                    std::chrono::duration<double>(seconds))
                                  : std::chrono::steady_clock::time_point::max();
    bool ok = true;
    {
        std::unique_ptr<DemoParticipant> publisher, subscriber;
        if (role != "subscriber") {
            publisher = std::make_unique<DemoParticipant>(domain, "shapes-publisher", monitoring);
        }
        if (role != "publisher") {
            subscriber = std::make_unique<DemoParticipant>(domain, "shapes-subscriber", monitoring);
        }
        if ((publisher != nullptr && !publisher->ready()) || (subscriber != nullptr && !subscriber->ready())) {
            std::fprintf(stderr, "zeldemo: cannot create the participants in domain %d (see the log above)\n", domain);
            ok = false;
        } else if (role == "all") {
            std::thread reading([&] { ok = runSubscriber(*subscriber, clean, end) && ok; });
            ok = runPublisher(*publisher, end) && ok;
            g_stop = 1;
            reading.join();
        } else {
            ok = publisher != nullptr ? runPublisher(*publisher, end) : runSubscriber(*subscriber, clean, end);
        }
    }
    return DDS_DomainParticipantFactory_finalize_instance() == DDS_RETCODE_OK && ok ? 0 : 1;
}
