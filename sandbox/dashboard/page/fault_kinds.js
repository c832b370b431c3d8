// What may befall a call on purpose: a name for a person, and what the app sees of it.

export const kinds = {
  delay: ['delay', 'The call is done, and the answer comes late.'],
  cut: ['cut mid-body', 'The call is done, and the connection ends in the middle of the answer.'],
  refuse: ['refuse', 'The call is not done, and the connection ends without a byte.'],
  unauthorized: ['401', 'The call is not done; the answer is HTTP 401, and the app should renew its tokens.'],
  code: ['code', 'The call is not done; the envelope carries the code and the message.'],
  wrongType: ['wrong JSON types', 'The call is done; numbers come as texts and texts as numbers.'],
  invalidJson: ['invalid JSON', 'The call is done, and its JSON ends half-way.'],
};
