#pragma once

#include "tools/zavelo/request/output.hpp"
#include "tools/zavelo/request/request.hpp"

namespace zavelo::command {

// What each command does; they return the process's exit status.

[[nodiscard]] int runOperation(const OperationRequest& request, const GlobalOptions& options,
                               const Output& output);
[[nodiscard]] int runChat(const ChatRequest& request, const GlobalOptions& options,
                          const Output& output);
[[nodiscard]] int runChatMembers(const ChatMembersRequest& request, const GlobalOptions& options,
                                 const Output& output);
[[nodiscard]] int runChatSend(const ChatSendRequest& request, const GlobalOptions& options,
                              const Output& output);
[[nodiscard]] int runReplay(const ReplayRequest& request, const Output& output);
[[nodiscard]] int runInspect(const InspectRequest& request, const Output& output);
[[nodiscard]] int runCensor(const CensorRequest& request, const GlobalOptions& options,
                            const Output& output);
[[nodiscard]] int runSandbox(const SandboxRequest& request, const Output& output);
[[nodiscard]] int runTrigger(const TriggerRequest& request, const GlobalOptions& options,
                             const Output& output);
[[nodiscard]] int runExport(const ExportRequest& request, const GlobalOptions& options,
                            const Output& output);
[[nodiscard]] int runDemo(const DemoRequest& request, const Output& output);

}  // namespace zavelo::command
