// The labelling pass over the tables after each configuration read.
#pragma once

#include "core/channel_table.h"

namespace nelto {

/// Gives the special channels their labels in the user's language, also those behind a free record. Worker thread.
void LabelChannelTable(ChannelTable& table);

/// Gives the heating-check results their labels. Worker thread.
void LabelHeatingCheckTable(ChannelTable& table);

}  // namespace nelto
