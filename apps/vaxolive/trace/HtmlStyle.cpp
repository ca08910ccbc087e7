// The look of the page: colours for light and dark, what is what by more than colour alone, a
// layout that fits a phone, and the zoom, which is a row of radio buttons and no script.
#include "Html.h"

namespace vaxotrace {

const char* PageStyle() {
    return R"css(
:root{color-scheme:light dark;--bg:#fff;--fg:#1c2330;--dim:#5b6472;--line:#d9dee6;--soft:#f4f6f9;
--wait:#f2c14e;--wait-fg:#3a2a00;--run:#1a62c4;--run-fg:#fff;--hold:#1d7f72;--hold-fg:#fff;
--gone:#e3e6eb;--gone-fg:#3c4450;--bad:#b3261e;--warn:#8a5a00;--ok:#1d7f45;--fold:#eceff3}
@media(prefers-color-scheme:dark){:root{--bg:#12161c;--fg:#e6eaf0;--dim:#9aa5b4;--line:#333c48;
--soft:#1a2029;--wait:#d9a520;--wait-fg:#1d1500;--run:#4b8df0;--run-fg:#06121f;--hold:#35a898;
--hold-fg:#03150f;--gone:#39424f;--gone-fg:#dbe1ea;--bad:#ff8a80;--warn:#f0c15a;--ok:#6fd39a;
--fold:#222a35}}
*{box-sizing:border-box}
body{margin:0 auto;max-width:1400px;padding:20px 24px 40px;background:var(--bg);color:var(--fg);
font:15px/1.5 system-ui,-apple-system,"Segoe UI",Roboto,"DejaVu Sans",sans-serif}
h1{font-size:1.5rem;line-height:1.25;margin:0 0 2px}
h2{font-size:1.1rem;margin:28px 0 8px}
h3{font-size:1rem;margin:16px 0 6px}
p{margin:4px 0}
ul,ol{margin:4px 0;padding-left:22px}
.dim,figcaption{color:var(--dim)}
.verdict{border:1px solid var(--line);border-left:6px solid var(--ok);border-radius:6px;
background:var(--soft);padding:10px 14px;margin:12px 0;overflow-wrap:anywhere}
.verdict.busy{border-left-color:var(--bad)}
.verdict.more{border-left-color:var(--wait)}
.verdict>p:first-child{font-size:1.08rem;font-weight:600}
dl{display:grid;grid-template-columns:max-content 1fr;gap:2px 14px;margin:6px 0}
dt{color:var(--dim)}
dd{margin:0;overflow-wrap:anywhere}
.notes li{color:var(--warn);overflow-wrap:anywhere}
.legend{display:flex;flex-wrap:wrap;gap:4px 18px;list-style:none;margin:6px 0;padding:0}
.legend svg{vertical-align:-4px;margin-right:6px}
fieldset{border:0;margin:8px 0 4px;padding:0;display:inline}
.zoom{display:inline-block;margin:6px 12px 6px 0}
#z1:checked~.pictures{--zoom:1}#z4:checked~.pictures{--zoom:4}
#z16:checked~.pictures{--zoom:16}#z64:checked~.pictures{--zoom:64}
#z256:checked~.pictures{--zoom:256}
figure{margin:6px 0 22px}
.picture{display:flex;border:1px solid var(--line);border-radius:6px;overflow:hidden}
.names{flex:none;width:128px;border-right:1px solid var(--line);background:var(--soft)}
.scroll{flex:1;min-width:0;overflow-x:auto}
.scroll:focus-visible{outline:3px solid var(--run);outline-offset:-3px}
svg.time{display:block;width:calc(max(720px,100%)*var(--zoom,1))}
svg text{font:12px system-ui,-apple-system,"Segoe UI",Roboto,"DejaVu Sans",sans-serif;fill:var(--fg);
unicode-bidi:isolate}
svg text.dim{fill:var(--dim)}
svg a:hover rect.bar,svg a:focus rect.bar{stroke:var(--fg);stroke-width:2}
.lane{fill:var(--soft)}.grid{stroke:var(--line)}.last{stroke:var(--fg);stroke-dasharray:2 3}
.fold{fill:var(--fold)}.tear{stroke:var(--dim);stroke-dasharray:3 4}
.wait rect.bar{fill:var(--wait);stroke:var(--wait)}svg .wait text{fill:var(--wait-fg)}
.run rect.bar{fill:var(--run);stroke:var(--run)}svg .run text{fill:var(--run-fg)}
.hold rect.bar{fill:var(--hold);stroke:var(--hold)}svg .hold text{fill:var(--hold-fg)}
svg .gone rect.bar{fill:var(--gone);stroke:var(--dim);stroke-dasharray:4 3}
svg .gone text{fill:var(--gone-fg);text-decoration:line-through}
svg .failed rect.bar{stroke:var(--bad);stroke-width:3}
.open{fill:none;stroke:var(--bad);stroke-width:3}
.join{stroke:var(--bad);stroke-width:1.5}.head{fill:var(--bad)}
.ev{fill:var(--run);stroke:var(--bg)}.ev.bad{fill:var(--bad)}.ev.no{fill:var(--bg);stroke:var(--dim)}
.ev.note{fill:var(--dim)}
.table{overflow-x:auto;border:1px solid var(--line);border-radius:6px}
table{border-collapse:collapse;width:100%;font-size:14px}
th,td{text-align:left;padding:4px 10px;border-bottom:1px solid var(--line);white-space:nowrap;
vertical-align:top}
th{background:var(--soft)}
td.n,th.n{text-align:right;font-variant-numeric:tabular-nums}
td.wide{white-space:normal;min-width:220px;overflow-wrap:anywhere}
tr:target td{background:var(--fold)}
tr.busy td{font-weight:600}
@media(max-width:600px){body{padding:14px 12px 30px}.names{width:84px}.names text{font-size:10px}
dl{grid-template-columns:1fr}dd{margin-bottom:6px}}
@media print{.zoom,.hint{display:none}.scroll{overflow:visible}svg.time{width:100%}}
)css";
}

}  // namespace vaxotrace
