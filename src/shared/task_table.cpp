// The tasks that are built, for CreateTask.
#include "frame/task_factory.h"
#include "shared/task_makers.h"

namespace brevant {

namespace {

// In the order in which CreateTask compares the names.
constexpr TTaskEntry kTasks[] = {
    {"MAIL RETRIEVAL", MakeMailRetrievalTask},
    {"MAIL DISPATCH", MakeMailDispatchTask},
    {"HTML", MakeHtmlTask},
    {"FILE MANAGEMENT", MakeFileManagementTask},
    {"FILE DELIVERY", MakeFileDeliveryTask},
};

}  // namespace

std::span<const TTaskEntry> TaskTable() { return kTasks; }

}  // namespace brevant
