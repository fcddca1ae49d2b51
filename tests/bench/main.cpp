#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <thread>

#include <QCoreApplication>
#include <sys/utsname.h>

#include "tests/bench/Budgets.h"
#include "tests/bench/Topics.h"
#include "tests/support/PrivateBus.h"

namespace {

const std::map<std::string, std::function<void()>> All = {{"idle", Topics::idle},
                                                          {"plug", Topics::plug},
                                                          {"requests", Topics::requests},
                                                          {"start", Topics::startUp}};
const std::vector<std::string> Order = {"start", "plug", "idle", "requests"};

bool isSandbox()
{
    std::ifstream table("/proc/self/mounts");
    std::string source;
    return table >> source && source == "sandbox";
}

void describeMachine()
{
    utsname machine = {};
    uname(&machine);
    double load = 0;
    getloadavg(&load, 1);
    std::cout << "Processor cores: " << std::thread::hardware_concurrency() << ", kernel: " << machine.release
              << ", load average: " << load << ". Times in milliseconds." << std::endl;
}

void measure(const std::vector<std::string>& topics)
{
    const PrivateBus bus;
    describeMachine();
    for (const std::string& topic : topics) {
        All.at(topic)();
    }
    std::cout << std::endl;
}

} // namespace

/// Without arguments every topic; otherwise those that are named. Fails when a budget of theirs is exceeded.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (!isSandbox()) {
        std::cerr << "service_bench: this mounts file systems and runs only in tests/support/sandbox"
                  << std::endl;
        return EXIT_FAILURE;
    }
    const std::vector<std::string> topics(argv + 1, argv + argc);
    try {
        measure(topics.empty() ? Order : topics);
    } catch (const std::exception& error) {
        std::cerr << "service_bench: " << error.what() << std::endl;
        return EXIT_FAILURE;
    }
    return Budgets::hold() ? EXIT_SUCCESS : EXIT_FAILURE;
}
