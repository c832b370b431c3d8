#pragma once

/// ZaveloCore: the core library of a live-streaming SDK.
///
///     zavelo::ZaveloSDK::shared().initWith(
///         zavelo::ZVEnvironment::custom({"https://api.example"}), /*enableLog=*/true);
///
///     const auto& queue = zavelo::MainQueue::shared();   // completions arrive here
///     zavelo::ZaveloSDK::shared().userService()->loginGuest(
///         "device-1", [&](zavelo::ZVAPIResult<std::shared_ptr<zavelo::ZVUser>> result) {
///           if (result.isOk())
///             std::cout << "guest " << result.data()->guestId.value_or(0) << "\n";
///           else
///             std::cout << result.error().description << "\n";
///           queue->stop();
///         });
///     queue->run();                                      // or poll(), or setExecutor(f)

#include "zavelo/api/api.hpp"
#include "zavelo/api/api_error.hpp"
#include "zavelo/api/api_request.hpp"
#include "zavelo/api/api_result.hpp"
#include "zavelo/api/api_service.hpp"
#include "zavelo/api/call_observer.hpp"
#include "zavelo/api/endpoint_request.hpp"
#include "zavelo/core/attributed_string.hpp"
#include "zavelo/core/color.hpp"
#include "zavelo/core/environment.hpp"
#include "zavelo/core/error.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/core/notifications.hpp"
#include "zavelo/core/random_item.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/core/timestamp.hpp"
#include "zavelo/core/version.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/messaging/chat_batcher.hpp"
#include "zavelo/messaging/chat_replay.hpp"
#include "zavelo/messaging/current_user_source.hpp"
#include "zavelo/messaging/engines/in_process.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/message_type.hpp"
#include "zavelo/messaging/messaging_engine.hpp"
#include "zavelo/messaging/observe.hpp"
#include "zavelo/messaging/poll_message.hpp"
#include "zavelo/messaging/recorded_chat.hpp"
#include "zavelo/messaging/rtm_service.hpp"
#include "zavelo/messaging/stream_message.hpp"
#include "zavelo/messaging/stream_message_factory.hpp"
#include "zavelo/messaging/string_message.hpp"
#include "zavelo/models/config.hpp"
#include "zavelo/models/event.hpp"
#include "zavelo/models/gift_message_data.hpp"
#include "zavelo/models/gift_store.hpp"
#include "zavelo/models/pagination.hpp"
#include "zavelo/models/stream.hpp"
#include "zavelo/models/stream_kinds.hpp"
#include "zavelo/models/stream_product.hpp"
#include "zavelo/models/stream_totals.hpp"
#include "zavelo/models/user.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/services/banned_words.hpp"
#include "zavelo/services/gift_service.hpp"
#include "zavelo/services/product_service.hpp"
#include "zavelo/services/profanity_filter.hpp"
#include "zavelo/services/setting_service.hpp"
#include "zavelo/services/stream_service.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/ui/timer_label.hpp"
