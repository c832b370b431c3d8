#pragma once

#include "tools/zavelo/demo/demo_stage.hpp"

namespace zavelo::command {

// What happens on the stage, story after story; a Surprise ends it.

/// A member's session: how it comes, lasts and is lost.
void playMember(DemoStage& stage);
/// A seller's broadcast, and who watches it.
void playBroadcast(DemoStage& stage);

}  // namespace zavelo::command
