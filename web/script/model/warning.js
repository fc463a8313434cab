// What a list may lack, as the server warns of it.
import { isWeb } from './connection.js';

// The sentences for the warnings of a reading, each a text of the page with its values, and the causes that the server
// gives to administrators.
export function explainWarnings(warnings) {
  const missing = warnings.filter(isMissing);
  const vague = warnings.filter(({ code }) => code === 'details_missing');
  const sentences = [];
  if (missing.some(({ service }) => !service)) sentences.push(['warning.any', {}]);
  else if (missing.length > 0) sentences.push(['warning.missing', { services: servicesOf(missing) }]);
  if (vague.length > 0) sentences.push(['warning.details', { services: servicesOf(vague) }]);
  return { sentences, causes: warnings.map(({ detail }) => detail).filter(Boolean) };
}

// Whether, with these warnings, `row` may exist although the list lacks it. SSH stands for SFTP, too; web logins are
// read from another place.
export function mayLack(warnings, row) {
  if (isWeb(row)) return false;
  const names = row.type === 'SFTP' ? ['SSH', 'SFTP'] : [row.type];
  return warnings.filter(isMissing).some(({ service }) => !service || names.includes(service));
}

// The services that still let an account in that was just disabled, as one text; empty where none is known to.
export function stillLettingIn(warnings) {
  return servicesOf(warnings.filter(({ code }) => code === 'still_let_in'));
}

// A code of a newer server may mean anything.
const isMissing = ({ code }) => !['details_missing', 'still_let_in'].includes(code);

function servicesOf(warnings) {
  return [...new Set(warnings.map(({ service }) => service))].filter(Boolean).join(', ');
}
