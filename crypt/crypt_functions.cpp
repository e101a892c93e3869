// The crypt and encode functions of the language: strings, buffers and files.
