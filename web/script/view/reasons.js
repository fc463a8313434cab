// The sentences for the server's keys with values: reasons, effects, warnings, what still lets an account in. Unknown
// keys of a newer server are shown as they are.
import { explainWarnings } from '../model/warning.js';
import { element, icon } from './element.js';
import { namesOf } from './row.js';
import { shell } from './shell.js';
import { hasText, say, sayNodes, withCauses } from './texts.js';

const kMostFiles = 3;

// `now` is the row that replaced it, if the answer has one.
export function reasonText({ reason, user, causes = [], warning }, now) {
  const values = { reason, user: user ?? now?.who ?? '', process: String(now?.pid ?? '') };
  return withCauses(say(textFor('reason', reason), values), [...causes, warning?.detail].filter(Boolean));
}

// The sentence for the warnings of an answer; empty if there are none.
export function warningText(warnings) {
  const { sentences, causes } = explainWarnings(warnings);
  return withCauses(sentences.map(([key, values]) => say(key, values)).join(' '), causes);
}

// What ends with a row, and the files it holds open.
export function effectNotes({ effects, open_files: files, ...row }) {
  const notes = effects.map(({ reason, user, connection, count }) => {
    const names = namesOf(connection ?? row);
    return note('warning', sayNodes(textFor('effect', reason), { ...names, user: user ?? names.user, count, reason }));
  });
  return files?.total > 0 ? [...notes, note('warning', sayNodes('effect.open_files', fileValues(files)))] : notes;
}

// What still lets `user` in, and the remedy.
export function accessNotes(user, access) {
  return access.flatMap(({ service, access: word, reason, remedy, values }) => {
    const name = kServices[service] ?? (hasText(`service.${service}`) ? say(`service.${service}`) : service);
    const filled = { pam: '', cause: '', ...values, reason, service: name, user };
    const keys = [textFor('access', word, 'access.unknown'), textFor('reason', reason), textFor('remedy', remedy)];
    const sentences = keys.flatMap((key) => [...sayNodes(key, filled), ' ']);
    const file = values.file ? shell`-c ${values.file} ` : '';
    const todo = remedy === 'disable-in-samba' ? [command(`smbpasswd ${file}${shell`-d ${user}`}`)] : [];
    return [note('warning', sentences), ...todo];
  });
}

// What `user` leaves running, and how to end it.
export function leftRunningNotes(user, left) {
  const { processes, crontab, at_jobs: jobs } = left;
  const notes = [];
  const add = (key, values, todo) => notes.push(note('warning', sayNodes(key, values)), command(todo));
  if (processes > 0) add('left.processes', { count: processes, user }, killCommand(left));
  if (crontab) add('left.crontab', { user }, shell`crontab -r -u ${user}`);
  if (jobs > 0) add('left.at_jobs', { count: jobs, user }, 'atq');
  return notes;
}

export function note(kind, content) {
  return element('p', { className: `note ${kind}` }, icon(kind), element('span', {}, ...content));
}

export function command(text) {
  return element('code', { className: 'command', textContent: text });
}

const kServices = {
  ssh: 'SSH',
  vsftpd: 'vsftpd',
  proftpd: 'ProFTPD',
  'pure-ftpd': 'Pure-FTPd',
  telnet: 'Telnet',
  samba: 'Samba',
  afp: 'AFP',
};

function textFor(family, reason, otherwise = 'reason.other') {
  const key = `${family}.${reason.replaceAll('-', '_')}`;
  return hasText(key) ? key : otherwise;
}

function fileValues({ total, names }) {
  const shown = names.slice(0, kMostFiles);
  return { count: total, names: shown.length < total ? [...shown, '…'].join(', ') : shown.join(', ') };
}

// pkill leaves containers alone, where the user's id belongs to somebody else, and misses the user's own namespaces. It
// takes a name of digits for an id.
function killCommand({ uid, processes, apart }) {
  const commands = apart.length > 0 ? [`kill -KILL ${apart.join(' ')}`] : [];
  if (apart.length < processes) commands.push(`pkill -KILL -U ${uid} --ns 1 --nslist pid`);
  return commands.join('; ');
}
