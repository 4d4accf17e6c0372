// GMime wants g_mime_init() once per process before any other call.
#pragma once

namespace vimport {

// Initialises GMime on first use; safe from several threads.
void InitGMimeOnce();

}  // namespace vimport
