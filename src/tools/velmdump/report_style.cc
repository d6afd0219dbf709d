// The style sheet of the report, for light and dark.
#include "tools/velmdump/report_page.h"

const char* const report_style = R"(
:root{color-scheme:light dark;--back:#ffffff;--card:#f6f8fa;--text:#1f2328;--quiet:#59636e;--edge:#d1d9e0;--link:#0969da;
--good:#1a7f37;--warn:#9a6700;--bad:#d1242f;--code:#4e79a7;--data:#59a14f;--bss:#8a9199;--relocs:#d1383d;--packets:#e0a13a;
--tables:#b07aa1}
@media (prefers-color-scheme:dark){:root{--back:#0d1117;--card:#161b22;--text:#e6edf3;--quiet:#9198a1;--edge:#3d444d;
--link:#58a6ff;--good:#3fb950;--warn:#d29922;--bad:#ff7b72;--code:#6ea0d6;--data:#6cbf60;--bss:#8b949e;--relocs:#ff6b6b;
--packets:#e3b341;--tables:#c79ab9}}
*{box-sizing:border-box}
body{margin:0 auto;max-width:1280px;padding:16px;background:var(--back);color:var(--text);
font:14px/1.45 system-ui,-apple-system,"Segoe UI",sans-serif}
h1{font-size:22px;margin:4px 0 12px}
h2{font-size:19px;margin:36px 0 4px;padding-top:14px;border-top:2px solid var(--edge);overflow-wrap:anywhere}
h3{font-size:15px;margin:22px 0 6px}
p{margin:4px 0 8px}
a{color:var(--link)}
.quiet{color:var(--quiet)}
.mono,td.mono{font-family:"DejaVu Sans Mono",ui-monospace,Menlo,Consolas,monospace;font-size:12px}
.verdict{font-weight:600}
.verdict.good{color:var(--good)}.verdict.warn{color:var(--warn)}.verdict.bad{color:var(--bad)}
.wide{overflow-x:auto}
table{border-collapse:collapse}
th,td{padding:2px 10px 2px 0;text-align:left;white-space:pre}
td.number,th.number{text-align:right}
.plain th{color:var(--quiet);font-weight:600;border-bottom:1px solid var(--edge)}
dl{display:grid;grid-template-columns:max-content 1fr;gap:2px 14px;margin:8px 0}
dt{color:var(--quiet)}dd{margin:0;overflow-wrap:anywhere}
.bar{display:flex;height:18px;border-radius:4px;overflow:hidden;background:var(--card)}
.bar span{display:block;min-width:1px}
.shares{display:flex;flex-wrap:wrap;gap:4px 18px;margin:6px 0;padding:0;list-style:none}
.shares i{display:inline-block;width:11px;height:11px;margin-right:6px;border-radius:2px}
.s-code{background:var(--code)}.s-data{background:var(--data)}.s-bss{background:var(--bss)}
.s-relocs{background:var(--relocs)}.s-packets{background:var(--packets)}.s-tables{background:var(--tables)}
.map{overflow-x:auto;border:1px solid var(--edge);border-radius:6px}
.map svg{display:block}
.tools{display:flex;flex-wrap:wrap;align-items:center;gap:6px 12px;margin:4px 0}
.tools input{font:inherit;padding:3px 8px;width:230px;max-width:100%;color:var(--text);background:var(--back);
border:1px solid var(--edge);border-radius:6px}
.rows{max-height:440px;overflow:auto;border:1px solid var(--edge);border-radius:6px}
.rows table{min-width:100%}
.rows thead th{font:12px "DejaVu Sans Mono",ui-monospace,Menlo,Consolas,monospace;position:sticky;top:0;background:var(--card);border-bottom:1px solid var(--edge);padding:0}
.rows th button{all:unset;box-sizing:border-box;width:100%;padding:4px 6px;cursor:pointer;
font:600 12px system-ui,-apple-system,"Segoe UI",sans-serif;white-space:nowrap}
.rows th button:hover{color:var(--link)}
.rows th button:focus-visible{outline:2px solid var(--link);outline-offset:-2px}
.rows th button::after{content:"\2195";opacity:.35;margin-left:5px}
.rows th[aria-sort=ascending] button::after{content:"\2191";opacity:1}
.rows th[aria-sort=descending] button::after{content:"\2193";opacity:1}
.rows td{height:24px;line-height:20px;padding:0 6px;unicode-bidi:isolate}
.rows tr.odd td{background:var(--card)}
.rows tr.pad td{padding:0;height:auto;background:none}
@media print{.rows{max-height:none}}
)";
