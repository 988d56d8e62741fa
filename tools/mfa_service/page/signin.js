'use strict';

const kDigits = 6;
const kAnswerTimeout = 15000;
// Milliseconds; long enough to be seen.
const kSuccessShown = 400;

const panel = document.querySelector('.panel');
const form = document.getElementById('form');
const code = document.getElementById('code');
const message = document.getElementById('message');
const verify = document.getElementById('verify');
const verifyText = document.getElementById('verify-text');
let busy = false;

function setBusy(on) {
  busy = on;
  form.setAttribute('aria-busy', String(on));
  verify.disabled = on;
  // Read-only and not disabled: a disabled field would lose the focus.
  code.readOnly = on;
  verifyText.textContent = on ? 'Verifying…' : 'Verify';
}

function showError(text) {
  message.textContent = text;
  code.setAttribute('aria-invalid', String(text !== ''));
}

function reject(text, keepCode) {
  setBusy(false);
  if (!keepCode) {
    code.value = '';
  }
  showError(text);
  code.focus();
}

function finish(answer) {
  panel.classList.add('signed-in');
  document.getElementById('done-text').textContent = 'Signed in';
  setTimeout(() => { document.title = JSON.stringify({ token: answer.accessToken }); }, kSuccessShown);
}

function end(text) {
  setBusy(false);
  code.value = '';
  showError(text);
  code.disabled = true;
  verify.disabled = true;
}

async function submit() {
  if (busy) {
    return;
  }
  if (code.value.length !== kDigits) {
    reject('Enter all six digits.', true);
    return;
  }
  showError('');
  setBusy(true);
  const giveUp = new AbortController();
  const timer = setTimeout(() => giveUp.abort(), kAnswerTimeout);
  try {
    const response = await fetch(location.pathname + '/code', {
      method: 'POST',
      headers: { 'Content-Type': 'application/json' },
      body: JSON.stringify({ code: code.value }),
      signal: giveUp.signal,
    });
    const answer = await response.json();
    if (response.ok) {
      finish(answer);
    } else if (answer.attemptsLeft > 0) {
      reject(answer.error, false);
    } else {
      end(answer.error);
    }
  } catch (error) {
    reject('The service did not answer. Press Verify to try again.', true);
  } finally {
    clearTimeout(timer);
  }
}

code.addEventListener('input', () => {
  const digits = code.value.replace(/\D/g, '').slice(0, kDigits);
  if (digits !== code.value) {
    code.value = digits;
  }
  if (digits !== '') {
    showError('');
  }
  if (digits.length === kDigits) {
    submit();
  }
});

form.addEventListener('submit', (event) => {
  event.preventDefault();
  submit();
});

code.focus();
