// Emulation of the system's message formatting call, in its two shapes: FormatMessageW with a
// printf format, and FormatMessageWin with numbered inserts ("%1", "%2!d!"). Both format through
// the library's one wide printf (base/wide_printf.h).
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <type_traits>

inline constexpr unsigned int FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
inline constexpr unsigned int FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr unsigned int FORMAT_MESSAGE_FROM_STRING = 0x400;
inline constexpr unsigned int FORMAT_MESSAGE_FROM_HMODULE = 0x800;
inline constexpr unsigned int FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
inline constexpr unsigned int FORMAT_MESSAGE_ARGUMENT_ARRAY = 0x2000;
inline constexpr unsigned int FORMAT_MESSAGE_MAX_WIDTH_MASK = 0xff;

// Highest insert number a va_list can reach: inserts are read in order and kept, so that one can
// be used twice.
inline constexpr int FORMAT_MESSAGE_NB_CACHE = 200;

// Buffers, as the system call has them: without FORMAT_MESSAGE_ALLOCATE_BUFFER, pszBuffer holds
// nTaille characters; with it, pszBuffer is really a wchar_t** that receives a malloc buffer
// (free it with free), left null on failure. The answer is the length of the text, terminator
// not counted; 0 on failure with errno set (EINVAL for a bad call or format, ENOMEM).

// The printf form. pSource is the wide format (FORMAT_MESSAGE_FROM_STRING); with
// FORMAT_MESSAGE_FROM_SYSTEM the text is that of the system error dwIdMessage, or of errno when
// dwIdMessage is 0, taken as it stands. A text longer than the caller's buffer is cut to
// nTaille - 1 characters and that length answered. An allocated buffer holds at least nTaille
// characters. With pArguments null, a format that would read an argument is refused.
unsigned int FormatMessageW(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                            unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                            va_list* pArguments) noexcept;

// The inserts of the numbered form, always counted: an insert number past nNombre is refused
// (EINVAL), never read. With FORMAT_MESSAGE_ARGUMENT_ARRAY the values come from ptabValeurs, else
// from pListe, read in order as uintptr_t.
struct STArgumentsMessage {
    const uintptr_t* ptabValeurs = nullptr;
    va_list* pListe = nullptr;
    int nNombre = 0;
};

// The numbered form. Flags: FORMAT_MESSAGE_FROM_STRING (pSource is the wide text) or
// FORMAT_MESSAGE_FROM_SYSTEM (the system error dwIdMessage, errno when 0) is needed, and
// FORMAT_MESSAGE_FROM_HMODULE is refused; the low byte is the maximum line width (0: line ends of
// the text kept as CR LF; 1 to 254: line ends become blanks and lines are broken at the last blank;
// 255: line ends become blanks, no breaking). "%n" writes CR LF, "%r" CR, "%t" a tab, "%b" a
// blank, "%0" ends the text, "%" before any other character writes that character. An insert is
// "%" and one to three digits, then an optional printf format between exclamation marks ("s" by
// default); each "*" in it takes the next insert. Inserts of integers, characters, wide ("s") or
// UTF-8 ("hs", "S") texts and pointers are supported; floating point is not, as in the call
// emulated. A full buffer cuts the text: the answer is then the buffer's size less one. The
// allocated buffer starts at nTaille rounded up to 65536 characters and is shrunk to the text.
unsigned int __FormatMessageWin(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                                unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                                const STArgumentsMessage* pstArguments) noexcept;

// The va_list form: nNbArguments pointer-sized values (uintptr_t) in the list. The list is read
// through a copy; the caller's is left where it was.
unsigned int FormatMessageWin(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                              unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille, va_list* pArguments,
                              int nNbArguments) noexcept;
// The counted-array form (FORMAT_MESSAGE_ARGUMENT_ARRAY is implied).
unsigned int FormatMessageWin(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                              unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                              const uintptr_t* ptabArguments, int nNbArguments) noexcept;

namespace format_message_internal {

// One argument as the slot the inserts read: integers widened (signed ones sign-extended, so that
// "%1!d!" and "%1!I64d!" both read them back), pointers as their address. Floating point has no
// slot.
template <class T>
uintptr_t nCase(T xValeur) noexcept {
    if constexpr (std::is_same_v<T, std::nullptr_t>) {
        return 0;
    } else if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<uintptr_t>(xValeur);
    } else if constexpr (std::is_enum_v<T>) {
        return nCase(static_cast<std::underlying_type_t<T>>(xValeur));
    } else {
        static_assert(std::is_integral_v<T>, "an insert is an integer, a character or a pointer");
        if constexpr (std::is_signed_v<T>) return static_cast<uintptr_t>(static_cast<intptr_t>(xValeur));
        else return static_cast<uintptr_t>(xValeur);
    }
}

// The list behind FormatMessageWinArgs: nNbArguments values, each a uintptr_t.
unsigned int FormatMessageWinCompte(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                                    unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                                    int nNbArguments, ...) noexcept;

}  // namespace format_message_internal

// The numbered form with its inserts given in the call. The compiler counts them and each one
// becomes a uintptr_t before it enters the va_list, so the list always holds exactly as many
// values, of exactly the type read, as the count says.
template <class... TArguments>
unsigned int FormatMessageWinArgs(unsigned int dwFlags, const void* pSource, unsigned int dwIdMessage,
                                  unsigned int dwIdLangue, wchar_t* pszBuffer, unsigned int nTaille,
                                  TArguments... xArguments) noexcept {
    return format_message_internal::FormatMessageWinCompte(dwFlags, pSource, dwIdMessage, dwIdLangue, pszBuffer,
                                                           nTaille, static_cast<int>(sizeof...(TArguments)),
                                                           format_message_internal::nCase(xArguments)...);
}
