#pragma once

// Platen for C++20: the tone world, the two line filters and the scaler as types that check their settings, own
// what they hold and take lines as std::span. Header-only, over the functions that libplaten exports; link
// platen::platen.
//
//   platen::ToneWorld world(platen::BrightnessContrast{.contrast = 30}, platen::Level{.inputBlack = 20});
//   const platen::ToneTables tables = world.tables();
//   platen::HsvFilter hsv({.saturation = 15, .width = width});
//   platen::Scaler scaler({.from = {width, height}, .to = {width / 2, height / 2}});
//   for each source line:
//     tables.mapRgb(line);
//     hsv.apply(line);
//     for (auto finished : scaler.push(line)) { write(finished); }
//
// Settings are aggregates: name the members that differ from the defaults. Their ranges are checked when they are
// given; problem() tells beforehand.
//
// Failures. Constructors and the plain calls throw: std::bad_alloc where memory ran out, platen::Error, whose
// message says what was wrong and what is allowed, for everything else. open() and the functions whose names begin
// with `try` do the same work, never throw, and return a Status. Built without exceptions, the header has those
// only; the library's own std::bad_alloc then ends the program (the companion library's C functions return a status
// there as well).
//
// Cost. Each type holds the library's own handle; a line costs the plain call and a comparison of sizes. Memory is
// taken when something is opened, never for a line.
//
// Threads. Nothing is locked. An object belongs to one thread at a time; distinct objects are independent, with one
// exception: the lightness table of HsvFilter, see there.

#include "platen-cpp/Filters.hpp"
#include "platen-cpp/Lines.hpp"
#include "platen-cpp/Scaler.hpp"
#include "platen-cpp/Status.hpp"
#include "platen-cpp/Tone.hpp"
