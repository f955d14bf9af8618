/// \file
/// The look of reports: colours for light and dark surroundings, from phones to wide screens.
#ifndef QUILLON_PROGRAM_REPORT_STYLE_H
#define QUILLON_PROGRAM_REPORT_STYLE_H

/// A style sheet without characters that XML would take for its own.
inline constexpr const char* report_style = R"(
:root {
  color-scheme: light dark;
  --page: #f4f4f1; --card: #fdfdfc; --edge: #e2e1db; --ink: #14140f; --soft: #55544f;
  --faint: #8a8880; --grid: #e6e5df; --solution: #2a78d6; --bound: #eb6834; --open: #2a78d618;
  --good: #137a43; --good-back: #dff3e6; --plain: #1d5fae; --plain-back: #e1edfb;
  --none: #5d5c57; --none-back: #ebeae5; --bad: #b3261e; --bad-back: #fbe5e3;
  --c0: #1baf7a; --c1: #4a3aa7; --c2: #eda100; --c3: #d6518c; --c4: #00834f; --c5: #e34948;
  --c6: #8a8880;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #121211; --card: #1b1b1a; --edge: #30302d; --ink: #f5f5f2; --soft: #c2c1ba;
    --faint: #918f87; --grid: #2b2b29; --solution: #4b97f0; --bound: #e8733f; --open: #4b97f01f;
    --good: #7fdca6; --good-back: #123923; --plain: #9cc7fb; --plain-back: #14304f;
    --none: #c2c1ba; --none-back: #30302d; --bad: #ffb4ab; --bad-back: #4a1512;
    --c0: #22b883; --c1: #9a8ff0; --c2: #d99a17; --c3: #e2679c; --c4: #7cb342; --c5: #ec6c6c;
    --c6: #918f87;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0; background: var(--page); color: var(--ink); overflow-wrap: anywhere;
  font: 15px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif;
}
main { max-width: 1080px; margin: 0 auto; padding: 28px 20px 40px; }
h1 { font-size: 1.5rem; line-height: 1.25; margin: 0; font-weight: 650; }
h2 { font-size: 1rem; margin: 0 0 12px; font-weight: 650; }
header p { margin: 10px 0 0; color: var(--soft); max-width: 70ch; }
.verdict {
  display: inline-block; padding: 2px 12px; border-radius: 99px; margin-bottom: 10px;
  font-size: .8125rem; font-weight: 650; letter-spacing: .04em;
  color: var(--none); background: var(--none-back);
}
.verdict.good { color: var(--good); background: var(--good-back); }
.verdict.plain { color: var(--plain); background: var(--plain-back); }
.verdict.bad { color: var(--bad); background: var(--bad-back); }
.cards {
  display: grid; grid-template-columns: repeat(auto-fit, minmax(150px, 1fr)); gap: 12px;
  margin: 22px 0 12px;
}
.card, section {
  background: var(--card); border: 1px solid var(--edge); border-radius: 12px; min-width: 0;
}
.card { padding: 12px 16px 14px; }
.card b { display: block; font-size: 1.5rem; line-height: 1.25; font-weight: 600; }
.card b.middling { font-size: 1.125rem; line-height: 1.875rem; }
.card b.long { font-size: .9375rem; }
.card span { color: var(--soft); font-size: .8125rem; }
.card small { display: block; color: var(--faint); font-size: .8125rem; }
section { padding: 16px 18px 18px; margin: 12px 0; }
.pair { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 320px), 1fr)); gap: 0 12px; }
.pair section { margin: 6px 0; }
.legend {
  list-style: none; display: flex; flex-wrap: wrap; gap: 4px 18px; margin: 0 0 14px; padding: 0;
  color: var(--soft); font-size: .8125rem;
}
.legend li { display: inline-flex; align-items: center; gap: 5px; }
.key { width: 20px; height: 16px; }
.symbol { width: 16px; height: 16px; flex: none; vertical-align: -3px; overflow: visible; }
.plot {
  display: grid; grid-template-columns: var(--labels) minmax(0, 1fr); column-gap: 10px;
  margin-right: 14px; font-size: .75rem; color: var(--soft); font-variant-numeric: tabular-nums;
}
.plot.gap { margin-top: 10px; }
.title { grid-column: 1 / 3; padding-bottom: 9px; color: var(--faint); }
.values { position: relative; }
.values span { position: absolute; right: 0; transform: translateY(-50%); white-space: nowrap; }
.field { width: 100%; height: 340px; overflow: visible; display: block; }
.gap .field { height: 150px; }
.field svg { overflow: visible; }
.times { grid-column: 2; position: relative; height: 24px; }
.times span { position: absolute; top: 6px; transform: translateX(-50%); white-space: nowrap; }
.note { grid-column: 2; text-align: right; color: var(--faint); }
.grid line { stroke: var(--grid); stroke-width: 1; shape-rendering: crispEdges; }
.grid .minor { opacity: .5; }
.curve {
  fill: none; stroke-width: 2; stroke-linejoin: round; stroke-linecap: round;
  vector-effect: non-scaling-stroke;
}
.curve.solution { stroke: var(--solution); }
.curve.bound { stroke: var(--bound); }
.curve.gap { stroke: var(--soft); }
.open { fill: var(--open); }
.mark, .symbol use { stroke: var(--card); stroke-width: 1.5; }
.mark:hover { stroke: var(--ink); }
.optimum { fill: none; stroke: var(--good); stroke-width: 2; }
.c0 { fill: var(--c0); } .c1 { fill: var(--c1); } .c2 { fill: var(--c2); } .c3 { fill: var(--c3); }
.c4 { fill: var(--c4); } .c5 { fill: var(--c5); } .c6 { fill: var(--c6); }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th, td { text-align: right; padding: 6px 0 6px 18px; white-space: nowrap; }
th { color: var(--soft); font-weight: 500; font-size: .8125rem; }
tbody tr { border-top: 1px solid var(--edge); }
th:first-child, td:first-child { text-align: left; padding-left: 0; }
dl { margin: 0; font-variant-numeric: tabular-nums; }
dl div { display: flex; justify-content: space-between; gap: 4px 18px; padding: 3px 0; }
dl div + div { border-top: 1px solid var(--edge); }
dt { color: var(--soft); flex: none; max-width: 70%; }
dd { margin: 0; text-align: right; }
dl.wide { columns: 260px; column-gap: 36px; }
dl.wide div { break-inside: avoid; border-top: 0; border-bottom: 1px solid var(--edge); }
code {
  display: block; white-space: pre-wrap; font: .8125rem/1.5 ui-monospace, "DejaVu Sans Mono", monospace;
}
section p { margin: 0; color: var(--soft); }
footer { color: var(--faint); font-size: .8125rem; margin-top: 18px; }
.shapes { position: absolute; width: 0; height: 0; }
@media (max-width: 560px) {
  main { padding: 18px 10px 28px; }
  section { padding: 14px 12px 16px; }
  .cards { gap: 8px; grid-template-columns: repeat(auto-fit, minmax(130px, 1fr)); }
  .card:last-child:nth-child(odd) { grid-column: 1 / -1; }
  .field { height: 260px; }
  .plot { margin-right: 12px; column-gap: 7px; }
  table { font-size: .8125rem; }
  th, td { padding-left: 10px; }
}
@media print { body { background: none; } section, .card { break-inside: avoid; } }
)";

#endif
