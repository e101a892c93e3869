// Memory lists: the engine on its context record.
