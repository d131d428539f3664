"use strict";

/* Shows the run that stands in the element "data"; sim/report/recorder.h says what
 * is in it. Nothing but text is ever made from that data, never markup. */

const data = JSON.parse(document.getElementById("data").textContent);
const byId = (id) => document.getElementById(id);
const lanesInOrder = ["driver", "hostapd", "daemon", "mapd", "dman", "operator", "other"];
const wholeMedium = 31250;

function make(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name in element) {
      element[name] = value;
    } else {
      element.setAttribute(name, value);
    }
  }
  element.append(...children);
  return element;
}

function draw(tag, attributes = {}, ...children) {
  const element = document.createElementNS("http://www.w3.org/2000/svg", tag);
  for (const [name, value] of Object.entries(attributes)) {
    element.setAttribute(name, value);
  }
  element.append(...children);
  return element;
}

/* ---- words for people --------------------------------------------------------- */

const glossary = [
  ["daemon", "tspec-daemon, the program that this run is about. It decides which streams get "
    + "airtime of their own."],
  ["hostapd", "runs the radio's side of Wi-Fi. It passes on what stations ask for, and tells them "
    + "the answer."],
  ["driver", "the radio's driver. It knows which stations are there."],
  ["dman", "the device manager: sets the rules, and reads statistics."],
  ["mapd", "manages a network of access points. While it is in charge, it decides instead of the "
    + "daemon."],
  ["operator", "a person at the command line."],
  ["station", "a device on Wi-Fi: a telephone, a camera, a laptop."],
  ["stream", "data that flows regularly, such as one call. A TSPEC describes it, a TID numbers "
    + "it."],
  ["ADDTS request", "“add traffic stream”: a station asks for airtime for a stream."],
  ["ADDTS response", "the answer: accepted, refused (no room), or invalid parameters."],
  ["DELTS", "“delete traffic stream”: the stream is over, its airtime is free again."],
  ["access category", "the kind of traffic: voice, video, best effort, background."],
  ["medium time", "airtime per second, in units of 32 microseconds: " + wholeMedium
    + " units are all there is."],
];

const meanings = {
  "addts-request": "A station asks for airtime for a stream (“add traffic stream”).",
  "addts-response": "The answer to a station that asked for airtime.",
  "delts-request": "A station gives the airtime of a stream back.",
  "delts": "A stream is ended from the access point's side; hostapd tells the station.",
  "ts-inactive": "A stream has been silent for longer than its time-out.",
  "ts-exceed-time": "A stream used more airtime than it was admitted with.",
  "unauthorised-traffic": "A station sends on a category for which it has no admission.",
  "sta-disassoc": "A station has left.",
  "fbt-addts": "A station arrived from another access point, with a stream that was negotiated on "
    + "the way.",
  "frame-duration-query": "How long is the air busy with one frame of this size at this rate?",
  "frame-duration": "So long is the air busy with one frame.",
  "station-query": "The daemon asks the radio's driver whether the station is there.",
  "proc-read": "The daemon reads how busy the channel is.",
  "config": "The rules for one radio: on which categories streams need admission, and how much of "
    + "the air they may have together.",
  "violation-interval": "How often streams that use too much are reported.",
  "status-request": "A question about figures or streams.",
  "statistics": "The figures, as text.",
  "client-ts": "One stream of the walk over all streams.",
  "end": "There are no further streams.",
  "ap-state": "Who decides from now on: the daemon itself, or mapd.",
  "status": "How things stand in one access category, for mapd.",
  "ping": "Is the daemon alive?",
  "pong": "It is.",
  "debug": "Which traces the console shows.",
  "show": "Lists the streams on the console.",
  "delete-stream": "The operator ends a stream.",
  "delete-client": "The operator has a station forgotten.",
  "disassociation-mode": "Whether leaving stations give their airtime back.",
};

function percent(units) {
  return (100 * units / wholeMedium).toFixed(2) + " %";
}

function seconds(microseconds) {
  const whole = Math.floor(microseconds / 1e6);
  const two = (number) => String(number).padStart(2, "0");
  return two(Math.floor(whole / 3600)) + ":" + two(Math.floor(whole / 60) % 60) + ":"
    + two(whole % 60);
}

function station(address) {
  const parts = /^02:00:00:00:([0-9a-f]{2}):([0-9a-f]{2})$/.exec(address);
  return parts ? "station " + parseInt(parts[1] + parts[2], 16) : "station " + address;
}

/* A message's fields by name: {value, text}. */
function fieldsOf(message) {
  const fields = new Map();
  data.layouts[message.layout].forEach((name, i) => {
    const value = message.values[i];
    fields.set(name, Array.isArray(value) ? { value: value[0], text: value[1] }
      : { value, text: value });
  });
  return fields;
}

const verdicts = {
  0: (units) => "yes" + (units > 0 ? ": " + percent(units) + " of the air" : ""),
  1: () => "no: the request makes no sense",
  3: () => "no: there is no room",
};

function rulesOf(text, value) {
  if (value("tspec_enabled") === "0") {
    return text("radio_if") + ": no admission control";
  }
  const rules = [["voice", "vo"], ["video", "vi"], ["best effort", "be"], ["background", "bk"]]
    .filter(([, ac]) => value("acm_" + ac) !== "0")
    .map(([name, ac]) => name + " at most " + text("limit_" + ac));
  return text("radio_if") + ": " + (rules.join(", ") || "everything is free");
}

/* One short sentence. */
function inPlainWords(message) {
  const fields = fieldsOf(message);
  const value = (name) => fields.has(name) ? fields.get(name).value : "";
  const text = (name) => fields.has(name) ? fields.get(name).text : "";
  const who = () => station(value("sta_mac"));
  const category = () => text("ac_idx") || text("access_category");
  switch (message.name) {
    case "addts-request":
      return "may " + who() + " have airtime for " + category() + "?";
    case "addts-response": {
      const verdict = verdicts[value("result_code")];
      return who() + ", " + (verdict ? verdict(Number(value("medium_time")))
        : "result " + value("result_code"));
    }
    case "delts-request": return who() + " gives its airtime for " + category() + " back";
    case "delts": return "the " + category() + " stream of " + who() + " is over";
    case "ts-inactive": return "the " + category() + " stream of " + who() + " is silent";
    case "ts-exceed-time": return "the stream of " + who() + " uses too much";
    case "unauthorised-traffic": return who() + " sends " + category() + " without admission";
    case "sta-disassoc": return who() + " has left";
    case "fbt-addts": return who() + " brings a " + category() + " stream along";
    case "frame-duration-query": return "how long is the air busy with one frame?";
    case "frame-duration": return text("duration");
    case "station-query": return "is " + who() + " there? " + text("reply").trim();
    case "proc-read": return "how busy is the channel? " + text("text").trim();
    case "config": return rulesOf(text, value);
    case "violation-interval": return "every " + text("interval");
    case "status-request": return text("text");
    case "client-ts": return station(value("station-mac")) + ", " + value("ts-ac") + ", "
      + value("ts-medium-time") + " units";
    case "ap-state": return { 0: "the daemon decides", 1: "mapd decides from now on" }[
      value("managed_mode")] || text("managed_mode");
    case "status": {
      const units = Number(value("radio[0].med_time_admitted"))
        + Number(value("radio[1].med_time_admitted"));
      return category() + ": " + value("num_active") + " streams, " + percent(units)
        + " of the air";
    }
    case "delete-stream": return who() + ", TID " + value("tid");
    case "delete-client": return who();
    case "statistics": return message.values.length + " figures";
    case "unknown": return "bytes that mean nothing";
    default: return "";
  }
}

function mood(message) {
  if (message.name !== "addts-response") {
    return "";
  }
  return fieldsOf(message).get("result_code").value === "0" ? " good" : " bad";
}

/* ---- the run that is shown -------------------------------------------------------- */

let run;
let lanes;
let rows;      /* by item; null where an item has none */
let chosen = -1;

function spot(lane) {
  return (lanes.indexOf(lane) + 0.5) / lanes.length * 100;
}

function labelOf(series) {
  return series.radio + " " + series.ac;
}

/* The figures from an item on. */
function figuresAt(series, item) {
  let last = { admitted: 0, limit: 0 };
  for (const point of series.points) {
    if (point.item > item) {
      break;
    }
    last = point;
  }
  return last;
}

function highest(series) {
  return Math.max(1, ...series.points.map((point) => Math.max(point.admitted, point.limit)));
}

/* Corners of the steps that a figure takes, as [place of an item, figure]; where
 * says at which place an item begins. */
function steps(series, figure, where, end) {
  const corners = [[where(0), 0]];
  for (const point of series.points) {
    const place = where(point.item);
    corners.push([place, corners[corners.length - 1][1]], [place, point[figure]]);
  }
  corners.push([end, corners[corners.length - 1][1]]);
  return corners;
}

/* ---- charts from left to right ---------------------------------------------------- */

const chart = { height: 172, left: 46, right: 12, top: 26, bottom: 40, letter: 6.2 };

/* How much later the story goes on, in two lines below the chart: what fits in
 * neither is told when its line is pointed at. */
function laterLabel(text, x, ends, width, ground) {
  const long = text.length * chart.letter;
  const from = Math.min(Math.max(x - long / 2, chart.left), width - chart.right - long);
  const line = ends.findIndex((end) => end + chart.letter < from);
  if (line < 0) {
    return [];
  }
  ends[line] = from + long;
  return [draw("text", { x: from, y: ground + 16 + 14 * line }, text)];
}

/* As wide as it is shown, so that its letters keep their size. */
function chartOf(series, width) {
  const count = Math.max(1, run.items.length);
  const across = (item) => chart.left + item / count * (width - chart.left - chart.right);
  const ground = chart.height - chart.bottom;
  const most = highest(series) * 1.08;
  const up = (units) => ground - units / most * (ground - chart.top);
  const path = (figure) => "M" + steps(series, figure, across, across(count))
    .map(([x, units]) => x.toFixed(1) + " " + up(units).toFixed(1)).join("L");
  const svg = draw("svg", { viewBox: `0 0 ${width} ${chart.height}`, role: "img",
    "aria-label": chartInWords(series) });
  const limit = series.points[series.points.length - 1].limit;
  svg.append(draw("text", { x: 0, y: 12 }, "units of 32 µs each second"));
  for (const units of new Set([0, limit])) {
    svg.append(draw("line", { class: "axis", x1: chart.left, x2: across(count), y1: up(units),
      y2: up(units) }), draw("text", { x: chart.left - 6, y: up(units) + 4, "text-anchor": "end" },
      String(units)));
  }
  const ends = [0, 0];
  run.items.forEach((item, i) => {
    if (item.kind !== "clock") {
      return;
    }
    svg.append(draw("line", { class: "later", x1: across(i), x2: across(i), y1: chart.top,
      y2: ground }, draw("title", {}, item.text)),
      ...laterLabel(item.text, across(i), ends, width, ground));
  });
  svg.append(
    draw("path", { class: "area", d: path("admitted") + `L${across(count)} ${ground}Z` }),
    draw("path", { class: "step", d: path("admitted") }),
    draw("path", { class: "limit", d: path("limit") }));
  svg.addEventListener("click", (event) => {
    const x = event.clientX - svg.getBoundingClientRect().left;
    goTo(Math.round((x - chart.left) / (width - chart.left - chart.right) * count));
  });
  return svg;
}

function chartInWords(series) {
  return "Airtime of " + labelOf(series) + ": " + series.points
    .map((point) => point.admitted + " of " + point.limit + " units").join(", then ");
}

function showCharts() {
  byId("airtime").hidden = run.airtime.length === 0;
  byId("charts").replaceChildren(...run.airtime.map((series) => {
    const last = series.points[series.points.length - 1];
    return make("div", { className: "chart " + series.ac },
      make("h3", {}, labelOf(series), make("span", {}, "at the end " + last.admitted + " of "
        + last.limit + " units, " + percent(last.admitted) + " of " + percent(last.limit))));
  }));
  drawCharts();
}

function drawCharts() {
  [...byId("charts").children].forEach((box, i) => {
    const style = getComputedStyle(box);
    const width = box.clientWidth - parseFloat(style.paddingLeft) - parseFloat(style.paddingRight);
    box.replaceChildren(box.firstChild, chartOf(run.airtime[i], Math.round(width)));
  });
}

/* The nearest row at or after an item that is there to be seen. */
function goTo(item) {
  const row = rows.slice(Math.max(0, item)).find((one) => one && one.offsetParent)
    || rows[rows.length - 1];
  row.scrollIntoView({ block: "center" });
  (row.querySelector(".message") || byId("story")).focus({ preventScroll: true });
}

/* ---- rows of the story --------------------------------------------------------------- */

function wide(...children) {
  return make("div", { className: "wide" }, ...children);
}

function messageRow(item, index) {
  const from = spot(item.from);
  const to = spot(item.to);
  const left = Math.min(from, to);
  const plain = inPlainWords(item);
  const label = make("span", { className: "label" }, make("span", { className: "route" },
    item.from + " → " + item.to), make("b", {}, item.title));
  if (plain) {
    label.append(make("span", { className: "plain" }, " – " + plain));
  }
  for (const trouble of [item.remark, item.fate]) {
    if (trouble) {
      label.append(make("span", { className: "fate" }, "  [" + trouble + "]"));
    }
  }
  label.style.setProperty("--left", left + "%");
  const line = make("span", { className: "line " + (to > from ? "right" : "left") });
  line.style.left = left + "%";
  line.style.width = Math.abs(to - from) + "%";
  const button = make("button", { type: "button",
    className: "message" + mood(item) + (item.fate ? " lost" : ""),
    "aria-expanded": "false", "aria-controls": "details",
    "aria-label": seconds(item.t) + ", " + item.from + " to " + item.to + ": " + item.title
      + (plain ? ", " + plain : "") + (item.fate ? ", " + item.fate : "") }, label, line);
  button.addEventListener("click", () => {
    button.focus();
    chosen === index ? close() : open(index);
    rows[index].scrollIntoView({ block: "nearest" });
  });
  return wide(button);
}

function failedRow(item) {
  const box = wide(make("h3", {}, "✗ Expected otherwise"), make("p", {}, item.text));
  if (item.rows && item.rows.length) {
    const table = make("table", {}, make("tr", {}, ...["", "expected", "actual"]
      .map((head) => make("th", { scope: "col" }, head))));
    for (const [name, expected, actual, holds] of item.rows) {
      table.append(make("tr", { className: holds ? "" : "differs" },
        make("th", { scope: "row" }, name), make("td", {}, expected), make("td", {}, actual)));
    }
    box.append(table);
  }
  for (const remark of item.remarks || []) {
    box.append(make("p", {}, remark));
  }
  if (item.place) {
    box.append(make("p", {}, make("code", {}, item.place)));
  }
  return box;
}

/* Lines that follow each other on one stream name it once. */
function outputOf(item, index) {
  const before = run.items[index - 1];
  const box = make("div", { className: "output " + item.stream.replace(" ", "-") });
  if (!before || before.stream !== item.stream || item.fate) {
    box.append(make("small", {}, item.stream + (item.fate ? " [" + item.fate + "]" : "")));
  }
  box.append(make("pre", {}, item.text));
  return box;
}

const contents = {
  message: messageRow,
  note: (item) => wide(...item.text.trim().split("\n").map((text) => make("p", {}, text))),
  clock: (item) => wide(item.text),
  act: (item) => wide(make("span", {}, make("b", {}, item.who), " " + item.what)),
  remark: (item) => wide(make("span", {}, item.text)),
  held: (item) => wide(make("span", {}, make("b", {}, "✓ "), "as expected: " + item.text)),
  failed: failedRow,
  output: outputOf,
};

function groupOf(item) {
  if (item.kind === "output") {
    return "output-row";
  }
  if (item.kind !== "message") {
    return item.kind;
  }
  if (item.to === "driver") {
    return "driver";
  }
  return item.name.startsWith("frame-duration") ? "frames" : "exchange";
}

function rowOf(item, index, before) {
  const when = seconds(item.t);
  const repeated = before && seconds(before.t) === when;
  return make("li", { className: "row " + groupOf(item) },
    make("span", { className: "when" }, repeated ? "" : when), contents[item.kind](item, index));
}

function showStory() {
  rows = run.items.map((item, i) => rowOf(item, i, run.items[i - 1]));
  byId("story").replaceChildren(...rows);
}

/* ---- what lies under the rows: lifelines, and the charts downwards ---------------------- */

function showHeads() {
  const heads = make("span", { className: "heads" }, ...lanes.map((lane) =>
    make("span", { className: lane === "daemon" ? "self" : "" }, lane)));
  const series = make("span", { className: "series" }, ...run.airtime.map((one) =>
    make("span", { className: one.ac }, labelOf(one), make("small", {}, "airtime, limit "
      + one.points[one.points.length - 1].limit))));
  byId("lanes").replaceChildren(make("span"), heads, series);
  byId("board").style.setProperty("--series", run.airtime.length);
}

/* Where an item's row begins, from the top of the board; rows that are hidden are
 * where the next one is. */
function tops(end) {
  const places = new Array(rows.length + 1).fill(end);
  for (let i = rows.length - 1; i >= 0; --i) {
    places[i] = rows[i].offsetParent ? byId("story").offsetTop + rows[i].offsetTop : places[i + 1];
  }
  return places;
}

function stripOf(series, left, width, places, end) {
  const most = highest(series) * 1.05;
  const across = (units) => left + 12 + units / most * (width - 24);
  const down = (item) => places[item];
  const path = (figure) => "M" + steps(series, figure, down, end)
    .map(([y, units]) => across(units).toFixed(1) + " " + y.toFixed(1)).join("L");
  const group = draw("g", { class: series.ac });
  group.append(
    draw("path", { class: "area", d: path("admitted") + `L${across(0)} ${end}L${across(0)} 0Z` }),
    draw("path", { class: "step", d: path("admitted") }),
    draw("path", { class: "limit", d: path("limit") }));
  for (const point of series.points) {
    group.append(draw("text", { x: across(0) + 4, y: down(point.item) + 14 },
      point.admitted + " of " + point.limit));
  }
  return group;
}

function drawUnder() {
  const under = byId("under");
  const heads = byId("lanes");
  const [, laneHeads, seriesHeads] = heads.children;
  const end = byId("story").offsetTop + byId("story").offsetHeight;
  const lines = lanes.map((lane) => {
    const line = make("div", { className: "lifeline" + (lane === "daemon" ? " self" : "") });
    line.style.left = `${laneHeads.offsetLeft + laneHeads.offsetWidth * spot(lane) / 100}px`;
    return line;
  });
  const places = tops(end);
  const width = run.airtime.length ? seriesHeads.offsetWidth / run.airtime.length : 0;
  const svg = draw("svg", { width: 1, height: end }, ...run.airtime.map((series, i) =>
    stripOf(series, seriesHeads.offsetLeft + i * width, width, places, end)));
  under.replaceChildren(...lines, svg);
}

/* ---- one message ------------------------------------------------------------------------ */

function table(fields) {
  return make("table", {}, ...fields.map(([name, field]) => make("tr", {},
    make("th", { scope: "row" }, name),
    make("td", {}, field.text, ...(field.text === field.value ? []
      : [make("small", {}, "  " + field.value)])))));
}

function dump(digits) {
  const lines = [];
  for (let at = 0; at < digits.length; at += 32) {
    const bytes = digits.slice(at, at + 32).match(/../g);
    const letters = bytes.map((byte) => {
      const code = parseInt(byte, 16);
      return code >= 0x20 && code < 0x7f ? String.fromCharCode(code) : ".";
    });
    lines.push(String(at / 2).padStart(4) + ": " + bytes.join(" ").padEnd(48) + " "
      + letters.join(""));
  }
  return lines.join("\n");
}

function fieldParts(message) {
  const all = [...fieldsOf(message)];
  const isNothing = ([, field]) => /^[0:\s]*$/.test(field.value);
  const zeros = all.filter(isNothing);
  const parts = [make("h3", {}, "Fields"), table(all.filter((entry) => !isNothing(entry)))];
  if (zeros.length) {
    parts.push(make("details", {}, make("summary", {}, zeros.length + " fields that are 0 or "
      + "empty"), table(zeros)));
  }
  return parts;
}

function detailsOf(message) {
  const button = (text, act) => {
    const one = make("button", { type: "button" }, text);
    one.addEventListener("click", act);
    return one;
  };
  const parts = [
    make("nav", { "aria-label": "Messages" }, button("Previous", () => turnTo(-1)),
      button("Next", () => turnTo(1)), button("Close", close)),
    make("h2", { id: "details-title" }, message.title),
    make("p", {}, message.from + " → " + message.to + ", " + seconds(message.t)),
    make("p", {}, meanings[message.name] || message.summary)];
  for (const trouble of [message.remark, message.fate]) {
    if (trouble) {
      parts.push(make("p", { className: "warning" }, trouble));
    }
  }
  parts.push(make("p", {}, make("code", {}, message.type)), ...fieldParts(message));
  if (message.bytes) {
    parts.push(make("h3", {}, message.bytes.length / 2 + " bytes"),
      make("pre", { className: "bytes" }, dump(message.bytes)));
  }
  return parts;
}

function buttonOf(item) {
  return rows[item].querySelector(".message");
}

function open(item) {
  if (chosen >= 0) {
    buttonOf(chosen).setAttribute("aria-expanded", "false");
  }
  chosen = item;
  buttonOf(item).setAttribute("aria-expanded", "true");
  byId("details").replaceChildren(...detailsOf(run.items[item]));
  byId("details").hidden = false;
  document.body.classList.add("with-details");
  byId("details").scrollTop = 0;
}

function hideDetails() {
  byId("details").hidden = true;
  document.body.classList.remove("with-details");
}

function close() {
  if (chosen < 0) {
    return;
  }
  const button = buttonOf(chosen);
  button.setAttribute("aria-expanded", "false");
  hideDetails();
  chosen = -1;
  button.focus();
}

/* ---- keyboard ----------------------------------------------------------------------------- */

function visibleMessages() {
  return run.items.map((item, i) => i)
    .filter((i) => run.items[i].kind === "message" && rows[i].offsetParent);
}

function neighbour(item, step) {
  const messages = visibleMessages();
  const place = messages.indexOf(item) + step;
  return messages[Math.min(messages.length - 1, Math.max(0, place))];
}

/* Goes on from the message that has the focus. */
function walk(step) {
  visit(neighbour(rows.findIndex((row) => row.contains(document.activeElement)), step));
}

/* Shows the neighbour of the message that is shown; the focus stays on the button
 * that was used. */
function turnTo(step) {
  const item = neighbour(chosen, step);
  open(item);
  rows[item].scrollIntoView({ block: "nearest" });
  byId("details").querySelectorAll("nav button")[step < 0 ? 0 : 1].focus();
}

function visit(item) {
  if (item === undefined) {
    return;
  }
  buttonOf(item).focus();
  rows[item].scrollIntoView({ block: "nearest" });
  if (chosen >= 0) {
    open(item);
  }
}

const keys = {
  ArrowDown: () => walk(1),
  ArrowUp: () => walk(-1),
  Home: () => visit(visibleMessages()[0]),
  End: () => visit(visibleMessages().pop()),
};

document.addEventListener("keydown", (event) => {
  if (event.key === "Escape") {
    return close();
  }
  if (keys[event.key] && byId("story").contains(document.activeElement)) {
    event.preventDefault();
    keys[event.key]();
  }
});

/* ---- filters --------------------------------------------------------------------------------- */

const filters = [["held", "checks that held"], ["act", "settings"], ["driver", "questions to the "
  + "driver"], ["frames", "frame durations"], ["output", "console and logs"]];

function showFilters() {
  byId("filters").append(...filters.map(([name, text]) => {
    const box = make("input", { type: "checkbox", checked: true });
    box.addEventListener("change", () => {
      byId("board").classList.toggle("without-" + name, !box.checked);
      drawUnder();
    });
    return make("label", {}, box, " " + text);
  }));
}

/* Of whom a message is; the answer on a frame's length does not say, and is of
 * whom the question was. */
function stationsOfItems() {
  let asked = "";
  return run.items.map((item) => {
    if (item.kind !== "message") {
      return "";
    }
    const fields = fieldsOf(item);
    const field = fields.get("sta_mac") || fields.get("station-mac");
    asked = field ? field.value : item.name === "frame-duration" ? asked : "";
    return asked;
  });
}

let stationsByItem;

function showStations() {
  stationsByItem = stationsOfItems();
  const all = [...new Set(stationsByItem)].filter((address) => address).sort();
  byId("stations").replaceChildren(make("option", { value: "" }, "all"),
    ...all.map((address) => make("option", { value: address }, station(address))));
  byId("search").value = "";
  find();
}

/* Hides the rows that lack the words, and messages of other stations. */
function find() {
  const words = byId("search").value.trim().toLowerCase();
  const wanted = byId("stations").value;
  let found = 0;
  rows.forEach((row, i) => {
    const isOther = wanted && run.items[i].kind === "message" && stationsByItem[i] !== wanted;
    const matches = !isOther && row.textContent.toLowerCase().includes(words);
    row.classList.toggle("unmatched", !matches);
    found += matches ? 1 : 0;
  });
  byId("found").textContent = words || wanted ? found + " of " + rows.length + " lines" : "";
  drawUnder();
}

/* ---- all of it ---------------------------------------------------------------------------------- */

function showVerdict() {
  const held = run.failures === 0;
  const text = held ? "✓ all " + run.expectations + " expectations held"
    : "✗ " + run.failures + " of " + run.expectations + " expectations did not hold";
  byId("verdict").replaceChildren(make("span", { className: "badge " + (held ? "good" : "bad") },
    text), make("span", {}, run.file));
}

function show(index) {
  run = data.runs[index];
  chosen = -1;
  hideDetails();
  const used = new Set(run.items.flatMap((item) => item.kind === "message" ? [item.from, item.to]
    : []));
  lanes = lanesInOrder.filter((lane) => lane !== "other" || used.has(lane));
  document.title = run.name + " – " + data.program;
  byId("name").textContent = run.name;
  byId("about").textContent = run.about;
  showVerdict();
  showCharts();
  showHeads();
  showStory();
  showStations();
}

/* "page.html#2.17" is message 17 of run 2, both counted from 0. */
function showAddressed() {
  const [index, item] = location.hash.slice(1).split(".").map(Number);
  byId("run").value = data.runs[index] ? index : 0;
  show(Number(byId("run").value));
  if (run.items[item] && run.items[item].kind === "message") {
    visit(item);
    open(item);
  }
}

function begin() {
  byId("program").textContent = data.program;
  byId("glossary").append(...glossary.flatMap(([word, text]) => [make("dt", {}, word),
    make("dd", {}, text)]));
  showFilters();
  byId("search").addEventListener("input", find);
  byId("stations").addEventListener("change", find);
  byId("picker").hidden = data.runs.length < 2;
  byId("run").append(...data.runs.map((one, i) => make("option", { value: i },
    (one.failures ? "✗ " : "✓ ") + one.name)));
  byId("run").addEventListener("change", () => show(Number(byId("run").value)));
  showAddressed();
  window.addEventListener("hashchange", showAddressed);
  new ResizeObserver(drawUnder).observe(byId("board"));
  new ResizeObserver(drawCharts).observe(byId("charts"));
}

begin();
