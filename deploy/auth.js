// Checks of signed addresses, for njs 0.7.9. What is signed, and how, is described in
// src/kernel/connection/VaxoSign.h: HMAC-SHA256 over "action\nname\nuser\nexpiry".
//
// The key of application <id> is the file <keys>/<id>, hexadecimal digits, read for every
// check: a key that is replaced (rename a new file over it) counts from then on.
//
// Everything is compared as it came. No value that passes needs percent encoding, so nothing
// is decoded, and no two writings of one address exist. A refusal says why in the error log,
// without signature and without text that has not passed its pattern.
import crypto from 'crypto';
import fs from 'fs';

const MAX_AHEAD = 3600;                // seconds an expiry may lie in the future
const MAX_BODY = 16 * 1024 * 1024;     // bytes of an upload; as client_max_body_size
const MAX_QUERY = 4096;

// The rtmp module keeps 255 characters of a name with "?" and the arguments behind it; what
// is cut off there is refused for its signature.
const ID = /^(0|[1-9][0-9]{0,9})$/;
const SAFE = /^(([A-Za-z0-9_-]|~[0-9a-f]{2})+|~)$/;
const MAX_SAFE = 160;
const MEDIA_NAME = /^[0-9]{1,10}_[A-Za-z0-9_~-]{1,240}$/;
const EXPIRY = /^[1-9][0-9]{0,11}$/;
const SIGNATURE = /^[A-Za-z0-9_-]{43}$/;
const KEY = /^([0-9A-Fa-f]{2}){16,128}$/;
const UPLOAD_PATH = /^\/upload\/([0-9]+)\/([A-Za-z0-9_~-]+)\/([A-Za-z0-9_-][A-Za-z0-9_.-]{0,199})$/;
const HLS_PATH = /^\/hls\/([A-Za-z0-9_~.-]+)\/([A-Za-z0-9_~-]+)\/(index\.m3u8|[0-9]{1,10}\.ts)$/;
const SIGNED = ['id', 'user', 'exp', 'sig'];

// The wanted arguments of a query, as they stand; null when one is missing or comes twice.
function readQuery(query, wanted) {
    if (!query || query.length > MAX_QUERY) {
        return null;
    }
    const found = {};
    const parts = query.split('&');
    for (let i = 0; i < parts.length; i++) {
        const equals = parts[i].indexOf('=');
        const name = equals < 0 ? parts[i] : parts[i].slice(0, equals);
        // The module's own reading of arguments may decode names: refuse what could become one.
        if (name.indexOf('%') >= 0 || name.indexOf('+') >= 0) {
            return null;
        }
        if (wanted.indexOf(name) < 0) {
            continue;
        }
        if (equals < 0 || found[name] !== undefined) {
            return null;
        }
        found[name] = parts[i].slice(equals + 1);
    }
    return wanted.every((name) => found[name] !== undefined) ? found : null;
}

function readKey(r, id) {
    let text;
    try {
        text = fs.readFileSync(r.variables.vaxo_keys + '/' + id, 'utf8').trim();
    } catch (e) {
        return null;
    }
    return KEY.test(text) ? Buffer.from(text, 'hex') : null;
}

// Takes the same time wherever the first difference is.
function sameText(a, b) {
    if (a.length !== b.length) {
        return false;
    }
    let difference = 0;
    for (let i = 0; i < a.length; i++) {
        difference |= a.charCodeAt(i) ^ b.charCodeAt(i);
    }
    return difference === 0;
}

// Why the signature does not hold; '' when it does.
function whyNot(r, action, name, sign) {
    if (!ID.test(sign.id) || !EXPIRY.test(sign.exp) || !SIGNATURE.test(sign.sig) ||
        !SAFE.test(sign.user) || sign.user.length > MAX_SAFE) {
        return 'malformed';
    }
    const ahead = Number(sign.exp) - Date.now() / 1000;
    if (!(ahead > 0)) {
        return 'expired';
    }
    if (ahead > MAX_AHEAD) {
        return 'expiry too far ahead';
    }
    const key = readKey(r, sign.id);
    if (key === null) {
        return 'no key for application ' + sign.id;
    }
    const message = [action, name, sign.user, sign.exp].join('\n');
    const right = crypto.createHmac('sha256', key).update(message).digest('base64url');
    return sameText(right, sign.sig) ? '' : 'wrong signature for application ' + sign.id;
}

function answer(r, what, reason) {
    if (reason !== '') {
        r.error(what + ' refused: ' + reason);
        r.return(403);
        return;
    }
    r.return(204);
}

// Also keeps one application from using another's names.
function whyNotMedia(r, action, name, sign) {
    if (!MEDIA_NAME.test(name)) {
        return 'malformed name';
    }
    if (!name.startsWith(sign.id + '_') || !SAFE.test(name.slice(sign.id.length + 1))) {
        return 'a name of another application';
    }
    return whyNot(r, action, name, sign);
}

// The rtmp module puts what it knows itself in front (addr: where the session comes from) and
// adds the address' own arguments as they are: a second name= or addr= comes from the address.
function session(r, action) {
    const known = readQuery(r.variables.args, ['name', 'addr']);
    if (known !== null && action === 'play' && known.addr === r.variables.vaxo_feed) {
        // The module's own session that feeds HLS: it "comes from" its target, port and
        // application included, which no client's addr can hold.
        r.return(204);
        return;
    }
    const asked = readQuery(r.variables.args, SIGNED);
    if (known === null || asked === null) {
        answer(r, action, 'unsigned, or arguments twice');
        return;
    }
    answer(r, action, whyNotMedia(r, action, known.name, asked));
}

function publish(r) {
    session(r, 'publish');
}

function play(r) {
    session(r, 'play');
}

// For a subrequest: $request_uri is the address that the client sent.
function splitAddress(r) {
    const address = r.variables.request_uri;
    const mark = address.indexOf('?');
    return {
        path: mark < 0 ? address : address.slice(0, mark),
        query: mark < 0 ? '' : address.slice(mark + 1),
    };
}

function hls(r) {
    const parts = HLS_PATH.exec(splitAddress(r).path);
    const token = parts === null ? [] : parts[1].split('.');
    if (token.length !== 4) {
        answer(r, 'hls', 'malformed address');
        return;
    }
    const sign = {id: token[0], user: token[1], exp: token[2], sig: token[3]};
    answer(r, 'hls', whyNotMedia(r, 'play', parts[2], sign));
}

function upload(r) {
    const address = splitAddress(r);
    const parts = UPLOAD_PATH.exec(address.path);
    if (parts === null) {
        answer(r, 'upload', 'malformed path');
        return;
    }
    const sign = readQuery(address.query, SIGNED);
    if (sign === null) {
        answer(r, 'upload', 'unsigned, or arguments twice');
        return;
    }
    if (parts[1] !== sign.id || parts[2] !== sign.user) {
        answer(r, 'upload', "another user's path");
        return;
    }
    answer(r, 'upload', whyNot(r, 'upload', address.path, sign));
}

// Why an address is refused, for whoever has signed it: the rtmp module tells clients nothing.
function why(r) {
    const asked = readQuery(r.variables.args, ['action', 'name'].concat(SIGNED));
    if (asked === null || (asked.action !== 'publish' && asked.action !== 'play')) {
        r.return(400);
        return;
    }
    const reason = whyNotMedia(r, asked.action, asked.name, asked);
    r.return(200, reason === '' ? 'good\n' : reason === 'expired' ? 'expired\n' : 'refused\n');
}

// Status to refuse a request's body with before it is read; '' to go on.
function bodyRefusal(r) {
    if (r.headersIn['Transfer-Encoding'] !== undefined) {
        return '411';
    }
    return Number(r.headersIn['Content-Length'] || 0) > MAX_BODY ? '413' : '';
}

export default {publish, play, hls, upload, why, bodyRefusal};
