// Locks stand in no folder here.
