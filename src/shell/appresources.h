#pragma once

// Registers the resource files compiled into the core library; safe to call
// more than once.
void initResources();
